// SPDX-License-Identifier: MIT
//
// Programs and modules in the folder of the test program.
#ifndef PROGRAMS_WINDOWS_H
#define PROGRAMS_WINDOWS_H

#include <windows.h>

#include <chrono>
#include <optional>
#include <string>

/// The path of a file in the folder.
inline std::wstring Beside(const std::wstring& file) {
    wchar_t path[1024] = {};
    const DWORD length = GetModuleFileNameW(nullptr, path, 1024);
    const std::wstring program(path, length);
    return program.substr(0, program.find_last_of(L"/\\") + 1) + file;
}

/// A running program. It ends with this object, and with the test program, even if that crashes.
class Process {
public:
    Process(const std::wstring& program, const std::wstring& arguments) {
        std::wstring command = L"\"" + Beside(program) + L"\" " + arguments;
        STARTUPINFOW startup = {};
        startup.cb = sizeof(startup);
        PROCESS_INFORMATION process = {};
        if (CreateProcessW(nullptr, command.data(), nullptr, nullptr, FALSE, CREATE_SUSPENDED, nullptr, nullptr,
                           &startup, &process)) {
            AssignProcessToJobObject(Job(), process.hProcess);
            ResumeThread(process.hThread);
            CloseHandle(process.hThread);
            m_handle = process.hProcess;
        }
    }
    ~Process() {
        Kill();
        WaitForSingleObject(m_handle, 10000);
        CloseHandle(m_handle);
    }
    Process(const Process&) = delete;
    Process& operator=(const Process&) = delete;

    void Kill() const { TerminateProcess(m_handle, 99); }
    /// The exit code; nullopt if the process does not end in time.
    std::optional<DWORD> Wait(std::chrono::milliseconds limit) const {
        DWORD code = 0;
        const bool ended = WaitForSingleObject(m_handle, static_cast<DWORD>(limit.count())) == WAIT_OBJECT_0;
        return ended && GetExitCodeProcess(m_handle, &code) ? std::optional<DWORD>(code) : std::nullopt;
    }

private:
    /// A job whose processes end with this program.
    static HANDLE Job() {
        static HANDLE const job = [] {
            HANDLE const made = CreateJobObjectW(nullptr, nullptr);
            JOBOBJECT_EXTENDED_LIMIT_INFORMATION limits = {};
            limits.BasicLimitInformation.LimitFlags = JOB_OBJECT_LIMIT_KILL_ON_JOB_CLOSE;
            SetInformationJobObject(made, JobObjectExtendedLimitInformation, &limits, sizeof(limits));
            return made;
        }();
        return job;
    }

    HANDLE m_handle = nullptr;
};

/// Calls one of the registration functions of a module.
inline HRESULT CallModule(const std::wstring& file, const char* function) {
    HMODULE const module = LoadLibraryW(Beside(file).c_str());
    using Registration = HRESULT(STDMETHODCALLTYPE*)();
    const auto call = module != nullptr
                          ? reinterpret_cast<Registration>(reinterpret_cast<void*>(GetProcAddress(module, function)))
                          : nullptr;
    const HRESULT result = call != nullptr ? call() : E_NOTIMPL;
    FreeLibrary(module);
    return result;
}

#endif
