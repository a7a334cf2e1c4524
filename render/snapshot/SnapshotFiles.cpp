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
    const bool inItsFolder = file.folder.empty() && !file.root.empty();  // a page's, which has no other
    const std::wstring path = SnapshotPath(inItsFolder ? file.root : file.folder, file.name);
    std::tie(wish.folder, wish.name) = util::SplitPath(path);
    util::OpenedFile opened =
        util::OpenForWriting(wish, file.timed ? util::Taken::kNumber : util::Taken::kReplace);
    if (!opened) return LogFailure(util::Describe(opened.fault), opened.error);
    DWORD written = 0;
    const DWORD wanted = static_cast<DWORD>(jpeg.size());
    if (WriteFile(opened.file.Get(), jpeg.data(), wanted, &written, nullptr) && written == wanted) return;
    LogFailure("the disk", GetLastError());
    // Half a picture looks like a whole one to those who only see the name.
    opened.file.Reset();
    DeleteFileW(opened.path.c_str());
}

}  // namespace norix
