# The presenter's part of render/, included by its CMakeLists.txt: the library render_presenter, with the pure
# part alone where there is no Windows. Status pictures need render/res/render.rc in the module's resource script.

add_library(render_presenter STATIC Geometry.cpp Geometry.h PictureView.cpp PictureView.h)
target_link_libraries(render_presenter PUBLIC util)

if(WIN32)
    target_sources(render_presenter PRIVATE
        DirectDrawFunctions.cpp
        DirectDrawFunctions.h
        DirectDrawPresenter.cpp
        DirectDrawPresenter.h
        DisplayChoice.cpp
        DisplayChoice.h
        GdiPresenter.cpp
        GdiPresenter.h
        Monitors.cpp
        Monitors.h
        NullPresenter.h
        PictureBlit.cpp
        PictureBlit.h
        PictureDecoration.cpp
        PictureDecoration.h
        Presenter.cpp
        Presenter.h
        StatusPicture.cpp
        StatusPicture.h)
    # dxguid holds DirectDraw's interface identifiers; ddraw.dll itself is loaded at run time.
    target_link_libraries(render_presenter PUBLIC codec gdi32 user32 PRIVATE dxguid)
endif()
