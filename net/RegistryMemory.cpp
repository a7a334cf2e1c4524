#include "net/RegistryMemory.h"

#include "net/KnownServers.h"
#include "util/Registry.h"
#include "util/Text.h"

namespace net {
namespace {

constexpr wchar_t kKey[] = L"Software\\Norix\\KnownServers";

class RegistryStore : public KnownServers::Store {
  public:
    std::optional<std::string> load(const std::string& name) override {
        const util::StringReg value(HKEY_CURRENT_USER, kKey, util::Utf8ToWide(name).c_str());
        return value.Exists() ? std::optional(util::WideToUtf8(value.Value())) : std::nullopt;
    }
    void save(const std::string& name, const std::string& text) override {
        util::StringReg(HKEY_CURRENT_USER, kKey, util::Utf8ToWide(name).c_str(), true)
            .Set(util::Utf8ToWide(text));
    }
};

}  // namespace

void rememberServersInRegistry() {
    static RegistryStore store;
    KnownServers::get().setStore(&store);
}

}  // namespace net
