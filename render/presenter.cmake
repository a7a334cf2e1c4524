# The presenter's part of render/, for its CMakeLists.txt to include.

# Runs anywhere.
set(NORIX_PRESENTER_PURE_SOURCES Geometry.cpp Geometry.h PictureView.cpp PictureView.h)

# Needs Windows. Links with user32, gdi32, ddraw's interface identifiers (dxguid), codec and util.
set(NORIX_PRESENTER_WINDOWS_SOURCES
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
set(NORIX_PRESENTER_WINDOWS_LIBS gdi32 user32 dxguid)

# The module's resource script includes this one, and so does every program that draws status pictures.
set(NORIX_PRESENTER_RESOURCES ${CMAKE_CURRENT_LIST_DIR}/res/render.rc)
