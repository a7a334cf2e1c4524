#include "PictureCommands.h"

#include <shlobj.h>

#include <cstring>
#include <span>

namespace {

constexpr long kBgrPicture = 1;  // of GetSnapshotData's formats, the one that needs no decoder

std::wstring PicturesFolder() {
    wchar_t path[MAX_PATH] = L"";
    SHGetFolderPathW(nullptr, CSIDL_MYPICTURES | CSIDL_FLAG_CREATE, nullptr, SHGFP_TYPE_CURRENT, path);
    return path;
}

// The bytes in a variant that an event passes by reference; empty where there are none.
std::span<const BYTE> Bytes(const VARIANT& argument) {
    const VARIANT* value = &argument;
    while (value->vt == (VT_BYREF | VT_VARIANT))
        value = value->pvarVal;
    if (value->vt != (VT_ARRAY | VT_UI1) || !value->parray) return {};
    return {static_cast<const BYTE*>(value->parray->pvData), value->parray->rgsabound[0].cElements};
}

// A picture whose rows follow each other from the top without padding, as the clipboard wants it: from the
// bottom, each row on a boundary of four bytes.
bool CopyToClipboard(std::span<const BYTE> bgr, LONG width, LONG height) {
    const size_t row = static_cast<size_t>(width) * 3;
    const size_t stride = (row + 3) & ~size_t{3};
    if (width <= 0 || height <= 0 || bgr.size() < row * static_cast<size_t>(height)) return false;
    const HGLOBAL memory = GlobalAlloc(GHND, sizeof(BITMAPINFOHEADER) + stride * static_cast<size_t>(height));
    if (!memory) return false;
    auto* header = static_cast<BITMAPINFOHEADER*>(GlobalLock(memory));
    header->biSize = sizeof(BITMAPINFOHEADER);
    header->biWidth = width;
    header->biHeight = height;
    header->biPlanes = 1;
    header->biBitCount = 24;
    auto* to = reinterpret_cast<BYTE*>(header + 1);
    for (LONG y = 0; y < height; ++y)
        std::memcpy(to + stride * static_cast<size_t>(y),
                    bgr.data() + row * static_cast<size_t>(height - 1 - y), row);
    GlobalUnlock(memory);
    if (!OpenClipboard(nullptr)) {
        GlobalFree(memory);
        return false;
    }
    EmptyClipboard();
    const bool taken = SetClipboardData(CF_DIB, memory) != nullptr;  // the clipboard owns it then
    CloseClipboard();
    if (!taken) GlobalFree(memory);
    return taken;
}

}  // namespace

void PictureCommands::SaveSnapshot() {
    call_(L"SaveSnapShot", {PicturesFolder().c_str(), L"", false});
}

void PictureCommands::CopyPicture() {
    copying_ = true;
    show_(L"waiting for a picture");  // for ever on Motion JPEG, which gives no data
    call_(L"GetSnapshotData", {kBgrPicture});
}

void PictureCommands::DrawDemo() {
    if (drawn_) {
        call_(L"RemoveAllGraphicObjs", {});
        drawn_ = false;
        return;
    }
    const long width = video_.cx;
    const long height = video_.cy;
    const _variant_t pen = call_(L"CreatePen", {255L, 200L, 0L, 3L, static_cast<long>(PS_SOLID)});
    const _variant_t brush = call_(L"CreateBrush", {0L, 80L, 160L});
    const _variant_t font = call_(L"CreateFont", {255L, 255L, 255L, 160L, L"Tahoma"});
    call_(L"DrawLine", {0L, 0L, width, height, pen});
    call_(L"DrawRectangle", {width / 8, height / 8, width / 4, height / 4, pen, 0L});
    call_(L"DrawEllipse", {width * 5 / 8, height / 8, width / 4, height / 4, pen, brush});
    call_(L"DrawText", {L"drawn by the host", width / 4, height * 3 / 4, width / 2, height / 8,
                        static_cast<long>(DT_CENTER | DT_VCENTER | DT_SINGLELINE), font, brush});
    drawn_ = true;
}

void PictureCommands::Rotate() {
    const long next = (angle_ + 90) % 360;
    const _variant_t result = call_(L"RotateVideo", {next});
    if (result.vt == VT_I4 && result.lVal == 0) angle_ = next;
}

void PictureCommands::Zoom() {
    call_(L"EnableDigitalPTZ", {!zooming_});
    zooming_ = !zooming_;
    show_(zooming_ ? L"wheel: zoom, drag: move, double click: all of it" : L"");
}

void PictureCommands::FullScreen() {
    call_(L"PreviewFullScreen", {true});
}

void PictureCommands::Statistics() {
    call_(L"SetClientReg", {L"::statistics", 0L, L"overlay", statistics_ ? L"0" : L"1"});
    statistics_ = !statistics_;
}

void PictureCommands::OnEvent(const Event& event) {
    const std::wstring& name = event.member->name;
    if (name == L"OnResolutionChanged" && event.arguments.size() == 2) {
        video_ = {event.arguments[0]->lVal, event.arguments[1]->lVal};
    } else if (name == L"OnConnStatus") {
        // Shapes and zoom live as long as their connection, and its pictures are no other's.
        drawn_ = zooming_ = copying_ = false;
    } else if (name == L"OnNotifySnapshotData" && event.arguments.size() == 5 && copying_ &&
               event.arguments[0]->lVal == kBgrPicture) {
        copying_ = false;
        const bool copied =
            CopyToClipboard(Bytes(*event.arguments[4]), event.arguments[1]->lVal, event.arguments[2]->lVal);
        show_(copied ? L"picture copied" : L"the picture could not be copied");
    }
}

void PictureCommands::Forget() {
    video_ = {};
    copying_ = drawn_ = zooming_ = statistics_ = false;
    angle_ = 0;
}
