#pragma once

#include <windows.h>

#include <optional>
#include <string>
#include <vector>

namespace framework {

/// For whom something is registered.
enum class RegistrationScope {
    Machine,  // HKEY_LOCAL_MACHINE\Software\Classes: for everybody; takes administrator rights
    User      // HKEY_CURRENT_USER\Software\Classes: for this user alone; takes none
};

/// Changes to the classes of one scope that happen as a whole or not at all: what was not committed is put
/// back as it was when the object goes. Not through HKEY_CLASSES_ROOT, where it depends on what is there
/// already which of the two places a value ends in. Belongs to one thread.
class RegistryTransaction {
  public:
    explicit RegistryTransaction(RegistrationScope scope) noexcept;
    ~RegistryTransaction();
    RegistryTransaction(const RegistryTransaction&) = delete;
    RegistryTransaction& operator=(const RegistryTransaction&) = delete;

    /// Writes a text below `tree`, a key that is ours alone ("CLSID\{...}"); an empty subkey is the tree
    /// itself, a null name the key's default value.
    HRESULT Set(const std::wstring& tree, const std::wstring& subkey, const wchar_t* name,
                const std::wstring& text);
    /// Removes the tree, and the key above it when nothing is left in that. One that is not there is no
    /// error.
    HRESULT Remove(const std::wstring& tree);
    /// Lets everything stay as it is now.
    void Commit() noexcept { m_before.clear(); }

  private:
    struct Value {
        std::wstring name;
        DWORD type;
        std::vector<BYTE> data;
    };
    struct Key {
        std::wstring name;
        std::vector<Value> values;
        std::vector<Key> keys;
    };
    struct Before {
        std::wstring tree;
        std::optional<Key> content;  // nullopt: was not there
    };

    /// Fills the key of this name.
    static LSTATUS Read(HKEY parent, Key& key);
    static void Write(HKEY parent, const Key& key);
    std::wstring Path(const std::wstring& below) const;
    /// Remembers how the tree was before its first change.
    LSTATUS Remember(const std::wstring& tree);
    void RemoveEmptyParents(const std::wstring& tree) const;

    const HKEY m_hive;
    std::vector<Before> m_before;
};

}  // namespace framework
