#pragma once

#include <string>
#include <vector>

#include "ui/ClientSettings.h"
#include "ui/FormDialog.h"

namespace norix {

/// What the client-setting dialog does when the user operates it. Called on the window's thread; may end the
/// dialog's life.
class ClientSettingSink {
  public:
    /// OK: keep and use what the dialog shows. `connectAgain`: at once.
    virtual void OnSettingsAccepted(bool connectAgain) = 0;
    /// The dialog is closed and nothing was kept.
    virtual void OnSettingsCancelled() = 0;
    /// Has the user pick a folder; empty when he picks none. Runs a message loop.
    virtual std::wstring PickFolder(HWND owner) = 0;

  protected:
    ~ClientSettingSink() = default;
};

/// The user's settings of this computer, and of one channel of a camera. Belongs to the thread of the
/// control's window. The sink outlives it.
class ClientSettingDialog final : public FormDialog {
  public:
    /// What it begins with.
    struct View {
        ClientSettings settings;
        std::vector<std::uint8_t> streams;  // the codecs of each, as the camera says; empty: not known
        bool protocolFixed = false;         // by the host
        bool connected = false;
        bool page = false;  // its files lie in one folder, which only picking changes
    };

    explicit ClientSettingDialog(ClientSettingSink& sink) : m_sink(sink) {}

    bool Show(HWND over, View view);
    /// The camera has told its streams since.
    void SetStreams(const std::vector<std::uint8_t>& known);

    /// What it shows; nothing, and the user told, when something can't be so.
    std::optional<ClientSettings> Take();
    void TellNotSaved();

  private:
    void OnOpened() override;
    void OnClosed() override { m_sink.OnSettingsCancelled(); }
    void OnCommand(int id, int code) override;
    void Pick(int field);
    void Tell(unsigned text, const std::wstring& argument, int field);

    ClientSettingSink& m_sink;
    View m_view;
    std::vector<StreamChoice> m_streams;
};

}  // namespace norix
