# Type libraries and resources (Windows builds only).
#
#   norix_add_typelib(target NorixSDK.idl NorixSDK.tlb)
#     Compiles the .idl with widl into the target's binary folder, and rebuilds the target's resources when it changes.
#     In the resource script: 1 TYPELIB "NorixSDK.tlb"
#   norix_add_resource(target NorixSDK.rc [DEPENDS file ...])
#     Adds a resource script; DEPENDS names the files it embeds (bitmaps, cursors, type libraries), because the
#     resource compiler tells nobody what it read.

set(NORIX_WIDL_PRELUDE ${CMAKE_CURRENT_LIST_DIR}/widl)

function(norix_add_typelib target idl tlb)
    find_program(NORIX_WIDL i686-w64-mingw32-widl REQUIRED)
    get_filename_component(idl ${idl} ABSOLUTE)
    set(out ${CMAKE_CURRENT_BINARY_DIR}/${tlb})
    file(GLOB prelude CONFIGURE_DEPENDS ${NORIX_WIDL_PRELUDE}/*.idl)
    add_custom_command(
        OUTPUT ${out}
        COMMAND ${NORIX_WIDL} --win32 --nostdinc -I${NORIX_WIDL_PRELUDE} -L${NORIX_DEPS}/typelib -t -o ${out} ${idl}
        DEPENDS ${idl} ${prelude} ${NORIX_DEPS}/typelib/stdole2.tlb
        COMMENT "Compiling type library ${tlb}"
        VERBATIM)
    target_sources(${target} PRIVATE ${out})
    set_property(TARGET ${target} APPEND PROPERTY NORIX_TYPELIBS ${out})
    # Resources that were added before and those that come later both depend on it.
    get_target_property(resources ${target} NORIX_RESOURCES)
    if(resources)
        set_property(SOURCE ${resources} APPEND PROPERTY OBJECT_DEPENDS ${out})
    endif()
    target_include_directories(${target} PRIVATE $<$<COMPILE_LANGUAGE:RC>:${CMAKE_CURRENT_BINARY_DIR}>)
endfunction()

function(norix_add_resource target rc)
    cmake_parse_arguments(arg "" "" "DEPENDS" ${ARGN})
    get_filename_component(rc ${rc} ABSOLUTE)
    target_sources(${target} PRIVATE ${rc})
    set_property(TARGET ${target} APPEND PROPERTY NORIX_RESOURCES ${rc})
    foreach(file IN LISTS arg_DEPENDS)
        get_filename_component(file ${file} ABSOLUTE)
        set_property(SOURCE ${rc} APPEND PROPERTY OBJECT_DEPENDS ${file})
    endforeach()
    get_target_property(typelibs ${target} NORIX_TYPELIBS)
    if(typelibs)
        set_property(SOURCE ${rc} APPEND PROPERTY OBJECT_DEPENDS ${typelibs})
    endif()
    get_filename_component(folder ${rc} DIRECTORY)
    target_include_directories(${target} PRIVATE $<$<COMPILE_LANGUAGE:RC>:${folder}>)
endfunction()
