#pragma once

#include "framework/Module.h"

namespace norix {

/// The module object of NorixSDK.ocx.
class CNorixSDKApp final : public framework::COleControlModule {
  public:
    CNorixSDKApp() : COleControlModule(L"NorixSDK", L"NorixSDKWindow") {}
    BOOL InitInstance() override;
    int ExitInstance() override;
};

}  // namespace norix
