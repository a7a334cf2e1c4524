#pragma once

#include "framework/ObjectFactory.h"
#include "framework/OlePropertyPage.h"

namespace norix {

/// The control's property page: says which control and version it is. Its properties are set by the host.
class CNorixSDKPropPage final : public framework::COlePropertyPage {
  public:
    class CNorixSDKPropPageFactory final : public framework::COleObjectFactory {
      public:
        CNorixSDKPropPageFactory();

      private:
        IUnknown* CreateObject() override;
    };

    CNorixSDKPropPage();

  protected:
    void OnShowObject(HWND dialog, IUnknown& object) override;
};

}  // namespace norix
