#pragma once

#include <cstdint>
#include <memory>
#include <string>

#include "record/FileNames.h"
#include "record/RecordFile.h"
#include "record/RecordStatus.h"

namespace norix {

/// What a recording needs of the world around it.
class RecordEnvironment {
  public:
    virtual ~RecordEnvironment() = default;

    // ---- Any thread; none of these blocks, or calls the host

    /// A timer in milliseconds, which wraps.
    virtual std::uint32_t NowMs() = 0;
    virtual void Report(RecordStatus status) = 0;
    /// The camera is asked for a key frame.
    virtual void WishKeyFrame() = 0;

    // ---- The writer's thread, with no lock held; may block as long as disk and host like

    virtual LocalTime Now() = 0;
    /// "FileNameFormat" of the module's ini file; empty when there is none.
    virtual std::wstring NameFormat() = 0;
    enum class Question {
        Asked,       // the answer comes to RecordWriter::OnNameAnswered, perhaps before the call returns
        Unanswered,  // there will be none
        NobodyThere,
    };
    /// Tells the host that the next file needs a name.
    virtual Question AskFileName(const LocalTime& time) = 0;

    struct Created {
        FileResult result = FileResult::Failed;
        std::unique_ptr<RecordFile> file;
    };
    /// Makes a new file; a name that is taken is numbered. `extension` is added unless it is empty or there.
    virtual Created Create(const std::wstring& folder, const std::wstring& name,
                           const std::wstring& extension) = 0;
};

}  // namespace norix
