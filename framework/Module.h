#pragma once

#include <windows.h>

#include <atomic>

namespace framework {

/// The module object of a control DLL: one static instance per module, created before DllMain runs.
///
/// It knows the module's instance handle and counts everything that keeps the module loaded: live COM
/// objects and IClassFactory::LockServer. All counting is thread safe; InitInstance and ExitInstance run
/// under the loader lock and must neither wait nor call COM.
class COleControlModule {
  public:
    /// `name` is whose errors the host is told of, `windowClass` what the module's windows are registered as;
    /// both are kept, not copied.
    COleControlModule(const wchar_t* name, const wchar_t* windowClass);
    COleControlModule(const COleControlModule&) = delete;
    COleControlModule& operator=(const COleControlModule&) = delete;

    /// The module object of this DLL.
    static COleControlModule& Get();

    /// Called at DLL_PROCESS_ATTACH. FALSE makes the load fail.
    virtual BOOL InitInstance();
    /// Called at DLL_PROCESS_DETACH when the library is freed (not at process end).
    virtual int ExitInstance();

    HINSTANCE Instance() const { return m_instance; }
    const wchar_t* Name() const { return m_name; }
    const wchar_t* WindowClass() const { return m_windowClass; }
    void Lock() { m_locks.fetch_add(1, std::memory_order_relaxed); }
    void Unlock() { m_locks.fetch_sub(1, std::memory_order_acq_rel); }
    /// True when no object and no server lock is left: DllCanUnloadNow's answer.
    bool CanUnload() const { return m_locks.load(std::memory_order_acquire) == 0; }

    /// The body of DllMain.
    BOOL OnDllMain(HINSTANCE instance, DWORD reason, void* reserved);

  protected:
    ~COleControlModule() = default;

  private:
    const wchar_t* const m_name;
    const wchar_t* const m_windowClass;
    HINSTANCE m_instance = nullptr;  // written once, at process attach
    std::atomic<long> m_locks{0};
};

/// Holds the module loaded for its own life: a member of every COM object.
class ModuleLock {
  public:
    ModuleLock() { COleControlModule::Get().Lock(); }
    ~ModuleLock() { COleControlModule::Get().Unlock(); }
    ModuleLock(const ModuleLock&) = delete;
    ModuleLock& operator=(const ModuleLock&) = delete;
};

}  // namespace framework
