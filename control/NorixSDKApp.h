#pragma once

#include "framework/Module.h"

namespace norix {

/// The module object of NorixSDK.ocx.
class CNorixSDKApp final : public framework::COleControlModule {
  public:
    BOOL InitInstance() override;
    int ExitInstance() override;
};

}  // namespace norix
