#include "render/snapshot/SnapshotFiles.h"

#include <tuple>

#include "render/snapshot/SnapshotName.h"
#include "util/FileOpener.h"
#include "util/Log.h"

namespace norix {
namespace {

void LogFailure(const char* what, DWORD error) {
    NORIX_LOG("CDecoder::SaveSnapShot", 1, "the snapshot's file could not be written: %s (%u)", what,
              static_cast<unsigned>(error));
}

}  // namespace

void SnapshotFiles::Save(const SnapshotRequests::File& file, SnapshotShaper::Bytes jpeg) {
    util::FileWish wish;
    wish.level = file.level;
    wish.root = file.root;
    // The name may lead to a folder below, and ends in .jpg even where the host's own name does already.
    std::tie(wish.folder, wish.name) = util::SplitPath(SnapshotPath(file.folder, file.name));
    const util::OpenedFile opened = util::OpenForWriting(wish, util::Taken::kReplace);
    if (!opened) return LogFailure(util::Describe(opened.fault), opened.error);
    DWORD written = 0;
    if (!WriteFile(opened.file.Get(), jpeg.data(), static_cast<DWORD>(jpeg.size()), &written, nullptr))
        LogFailure("the disk", GetLastError());
}

}  // namespace norix
