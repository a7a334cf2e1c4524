#pragma once

#include <optional>
#include <string>

#include "control/trust/Trust.h"

namespace norix {

/// What the current user has decided for a page, and what the page may keep: a registry key per page. Any
/// thread; each call reads or writes at once. A page whose address makes no key has nothing.
class PageStore {
  public:
    explicit PageStore(const PageIdentity& page);

    /// The answer to the question whether the page may reach `target`; nothing when it was not asked yet.
    std::optional<bool> Answer(const std::string& target) const;
    void Remember(const std::string& target, bool allowed) const;

    /// The folder below which the page may write; empty when the user has picked none.
    std::wstring Folder() const;
    void RememberFolder(const std::wstring& folder) const;

    /// The page's client values, as SetClientReg and GetClientReg name them. A value beyond the bounds, or
    /// one too many, is not stored.
    bool SetClientValue(const std::wstring& model, int channel, const std::wstring& name,
                        const std::wstring& value) const;
    std::wstring GetClientValue(const std::wstring& model, int channel, const std::wstring& name,
                                const std::wstring& fallback) const;

  private:
    std::wstring m_key;  // below the user's hive; empty: nothing is kept
};

/// What the administrator lets pages reach without a question: the list for all pages and the one for this
/// page's host.
TargetList ReadAllowedTargets(const PageIdentity& page);

}  // namespace norix
