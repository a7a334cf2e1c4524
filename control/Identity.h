#pragma once

#include <windows.h>

namespace norix {

// COM identities. They are compiled into hosts and stored in documents and pages: they never change. The
// type library (NorixSDK.idl) states the same ones.

inline constexpr GUID kTypeLibrary = {
    0x46CC53D7, 0x7A6E, 0x4D2D, {0x8F, 0x38, 0xE1, 0x38, 0xB5, 0xE4, 0x80, 0x24}};
inline constexpr WORD kTypeLibraryMajor = 1;
inline constexpr WORD kTypeLibraryMinor = 0;

/// _DNorixSDK
inline constexpr GUID kDispatchInterface = {
    0xBE59B29F, 0x5A23, 0x472A, {0xA4, 0x63, 0x8A, 0xCC, 0xF2, 0xC5, 0x80, 0x24}};
/// _DNorixSDKEvents
inline constexpr GUID kEventInterface = {
    0x614F8A5D, 0xAF7D, 0x4D8F, {0x90, 0x49, 0x5B, 0x89, 0xDD, 0x9C, 0x80, 0x24}};
inline constexpr GUID kControlClass = {
    0xA0C4B5E1, 0x6D0B, 0x4F43, {0x9C, 0x37, 0x5C, 0x1E, 0x2D, 0x7B, 0x80, 0x24}};
inline constexpr GUID kPropertyPageClass = {
    0x5D0F2F6C, 0x3B1A, 0x4C8E, {0x8E, 0x57, 0x21, 0xA9, 0x64, 0xC3, 0x80, 0x24}};

inline constexpr wchar_t kProgId[] = L"NORIXSDK.NorixSDKCtrl.1";
inline constexpr wchar_t kVersionIndependentProgId[] = L"NORIXSDK.NorixSDKCtrl";
inline constexpr wchar_t kControlName[] = L"NorixSDK Control";

}  // namespace norix
