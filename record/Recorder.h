#pragma once

#include <windows.h>

#include <memory>
#include <string>

#include "media/CtrlParam.h"
#include "record/RecordController.h"
#include "util/GenericThread.h"
#include "util/TrustLevel.h"

namespace norix {

/// The recording of a control: what it is asked for, and the thread that writes the files. Window thread.
///
/// Reports are posted to the parameter block's window as WM_OnRecordStatus, the question for a file's name is
/// sent as WM_OnRequestFileName.
class Recorder {
  public:
    /// Frames come from the insert operations of `param`.
    explicit Recorder(std::shared_ptr<CCtrlParam> param);
    /// Finishes the file, as far as the disk allows for in the time that a thread is given to end.
    ~Recorder();
    Recorder(const Recorder&) = delete;
    Recorder& operator=(const Recorder&) = delete;

    /// Of which key frames are asked for.
    void SetStream(long channel, long stream);
    void SetNaming(const RecordNaming& naming);
    void SetLimits(const RecordLimits& limits);
    /// A page writes below the folder that was picked for it, and nowhere before that.
    void SetLevel(util::TrustLevel level);
    void SetPageFolder(const std::wstring& folder);

    /// The wish for a recording. False: there is no memory, or no thread to be had.
    bool Start(RecordFormat format);
    void Stop(RecordFormat format);
    bool IsRequested() const;

    /// A connection begins; it ends. Suspend finishes the file and waits a few seconds for that, answering
    /// messages that are sent to the window. True when a file was being recorded.
    void Resume();
    bool Suspend();

    /// A WM_OnRecordStatus that says "recording" was taken from the queue, or went with the window: until
    /// then no other is posted.
    void OnRecordingSeen();
    /// The host has answered WM_OnRequestFileName, and SetNaming has been called with what it said.
    void OnNameAnswered();

    /// The drive of the folder is almost full. As it was found out during the last second, by the writer's
    /// thread: asking a share may take long.
    bool IsDiskFull() const;

  private:
    class Session;

    const std::shared_ptr<Session> m_session;  // shared with the thread and the receiving threads
    util::GenericThread m_thread{"Record"};
};

}  // namespace norix
