#pragma once

#include <optional>
#include <string>

#include "control/trust/PageStore.h"
#include "ui/ClientSettings.h"

namespace norix {

/// Where the user's settings of one channel of a camera are kept: as client values of its model, for a page
/// among the page's own. Window thread; each call reads or writes at once.
class ClientSettingsStore {
  public:
    /// `model` may be empty, for a camera that has not said what it is. `page`: for a page only.
    ClientSettingsStore(std::optional<PageStore> page, std::wstring model, int channel)
        : m_page(std::move(page)), m_model(std::move(model)), m_channel(channel) {}

    /// `settings` with what was kept in place of what it holds. Of a camera whose model has values those
    /// count, else those that were kept before its model was known.
    ClientSettings Load(ClientSettings settings) const;
    /// False when the registry refuses.
    bool Save(const ClientSettings& settings) const;

  private:
    std::wstring Get(const std::wstring& model, const std::wstring& name) const;

    const std::optional<PageStore> m_page;
    const std::wstring m_model;
    const int m_channel;
};

}  // namespace norix
