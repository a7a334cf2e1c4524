#include "render/snapshot/SnapshotName.h"

#include "util/Format.h"

namespace norix {

std::wstring SnapshotFileName(const std::wstring& name, bool withTime, const SnapshotTime& time) {
    if (!name.empty() && !withTime) return name;
    const std::string digits = util::Format("%d_%02d_%02d_%02d_%02d_%02d_%03d", time.year, time.month,
                                            time.day, time.hour, time.minute, time.second, time.millisecond);
    const std::wstring text(digits.begin(), digits.end());
    return name.empty() ? text : name + L"_" + text;
}

std::wstring SnapshotPath(const std::wstring& folder, const std::wstring& name) {
    return folder + L"\\" + name + L".jpg";
}

}  // namespace norix
