#pragma once

#include <optional>
#include <set>

#include "control/PageFields.h"
#include "framework/ObjectFactory.h"
#include "framework/OlePropertyPage.h"
#include "ui/FormControls.h"

namespace norix {

/// The control's property page: where the camera is, who signs in, how the stream comes and is shown. What is
/// applied counts for the next connection, or at once where the user wants that and there is one. Passwords
/// are written only.
class CNorixSDKPropPage final : public framework::COlePropertyPage {
  public:
    class CNorixSDKPropPageFactory final : public framework::COleObjectFactory {
      public:
        CNorixSDKPropPageFactory();

      private:
        IUnknown* CreateObject() override;
    };

    CNorixSDKPropPage();

  private:
    bool OnInit() override;
    void OnCommand(int id, int code) override;
    void OnShowObject(IUnknown& object) override;
    HRESULT OnApply() override;
    HRESULT OnHelp() override;
    void ShowField(const PageField& field, IDispatch& control);
    bool WriteField(const PageField& field, IDispatch& control) const;
    bool Check();

    FormControls m_controls;
    std::set<int> m_changed;      // fields, by their controls
    int m_at = IDC_PAGE_ADDRESS;  // the field that the keyboard was at last
    bool m_filling = false;       // what changes now is not the user's doing
};

}  // namespace norix
