# The decoder's part of render/, included by its CMakeLists.txt: the library render_decoder. The loops and codec
# adapters are portable; the threads around them are the system's.

add_library(render_decoder STATIC
    CodecAdapter.cpp
    DecodeLoop.cpp
    DisplayFrame.cpp
    DisplayLoop.cpp
    DisplayPool.cpp
    H264Adapter.cpp
    MjpegAdapter.cpp
    Mpeg4Adapter.cpp
    PauseGate.cpp)
target_link_libraries(render_decoder PUBLIC media codec render_presenter util)

if(WIN32)
    target_sources(render_decoder PRIVATE Decoder.cpp)
endif()
