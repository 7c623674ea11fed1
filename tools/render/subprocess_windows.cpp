// SPDX-License-Identifier: Apache-2.0
// clang-format off
#include <windows.h>
// clang-format on
#include <io.h>

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <system_error>
#include <utility>

#include "tools/render/failure.h"
#include "tools/render/files.h"
#include "tools/render/interrupt.h"
#include "tools/render/subprocess.h"
#include "tools/render/wide_text.h"

namespace render {
namespace {

constexpr DWORD kPipeBytes = 65536;

// Closes itself.
class Handle {
 public:
  Handle() = default;
  explicit Handle(HANDLE handle) : handle_(handle == INVALID_HANDLE_VALUE ? nullptr : handle) {}
  Handle(Handle&& other) noexcept : handle_(std::exchange(other.handle_, nullptr)) {}
  Handle& operator=(Handle&& other) noexcept {
    std::swap(handle_, other.handle_);
    return *this;
  }
  ~Handle() { reset(); }

  void reset() {
    if (handle_) CloseHandle(std::exchange(handle_, nullptr));
  }
  explicit operator bool() const { return handle_ != nullptr; }
  HANDLE get() const { return handle_; }

 private:
  HANDLE handle_ = nullptr;
};

[[noreturn]] void fail(const std::string& program) {
  const auto code = static_cast<int>(GetLastError());
  throw Failure(program, std::system_category().message(code));
}

SECURITY_ATTRIBUTES inheritable() { return {sizeof(SECURITY_ATTRIBUTES), nullptr, TRUE}; }

Handle open_inheritable(const std::string& program, const wchar_t* name, DWORD access) {
  SECURITY_ATTRIBUTES attributes = inheritable();
  Handle handle(CreateFileW(name, access, FILE_SHARE_READ | FILE_SHARE_WRITE, &attributes,
                            OPEN_EXISTING, 0, nullptr));
  if (!handle) fail(program);
  return handle;
}

Handle copy_inheritable(const std::string& program, int fd) {
  HANDLE copy = nullptr;
  if (!DuplicateHandle(GetCurrentProcess(), reinterpret_cast<HANDLE>(_get_osfhandle(fd)),
                       GetCurrentProcess(), &copy, 0, TRUE, DUPLICATE_SAME_ACCESS)) {
    fail(program);
  }
  return Handle(copy);
}

// Of the two ends `ours` does not wait: only a pipe with a name can have such an end.
struct Pipe {
  Handle ours, theirs;

  void make(const std::string& program, bool we_read) {
    static std::atomic<unsigned> count = 0;
    const std::wstring name = L"\\\\.\\pipe\\orvane-render." +
                              std::to_wstring(GetCurrentProcessId()) + L"." +
                              std::to_wstring(count++);
    const DWORD direction = we_read ? PIPE_ACCESS_INBOUND : PIPE_ACCESS_OUTBOUND;
    ours = Handle(CreateNamedPipeW(name.c_str(),
                                   direction | FILE_FLAG_OVERLAPPED | FILE_FLAG_FIRST_PIPE_INSTANCE,
                                   PIPE_TYPE_BYTE | PIPE_WAIT | PIPE_REJECT_REMOTE_CLIENTS, 1,
                                   kPipeBytes, kPipeBytes, 0, nullptr));
    if (!ours) fail(program);
    theirs = open_inheritable(program, name.c_str(), we_read ? GENERIC_WRITE : GENERIC_READ);
  }
};

// A word as the C library of the child takes it out of its command line.
std::wstring quoted(const std::wstring& word) {
  if (!word.empty() && word.find_first_of(L" \t\n\v\"") == std::wstring::npos) return word;
  std::wstring text = L"\"";
  size_t backslashes = 0;
  for (const wchar_t c : word) {
    if (c == L'"') text.append(backslashes + 1, L'\\');  // each of them twice, and one for the "
    backslashes = c == L'\\' ? backslashes + 1 : 0;
    text += c;
  }
  return text.append(backslashes, L'\\') + L'"';
}

std::wstring command_line(const std::vector<std::string>& command) {
  std::wstring line;
  for (const std::string& word : command) {
    if (!line.empty()) line += L' ';
    line += quoted(utf8_to_wide(word));
  }
  return line;
}

// In the PATH alone: CreateProcess would also look where the user's files are.
std::wstring find_program(const std::string& program) {
  const wchar_t* const path = _wgetenv(L"PATH");
  std::wstring found(32768, L'\0');
  const DWORD size = SearchPathW(path ? path : L"", utf8_to_wide(program).c_str(), L".exe",
                                 static_cast<DWORD>(found.size()), found.data(), nullptr);
  if (size == 0 || size >= found.size()) throw Failure(program, "is not installed");
  found.resize(size);
  return found;
}

// Whatever it holds ends with its last handle.
Handle make_job(const std::string& program) {
  Handle job(CreateJobObjectW(nullptr, nullptr));
  JOBOBJECT_EXTENDED_LIMIT_INFORMATION limits = {};
  limits.BasicLimitInformation.LimitFlags = JOB_OBJECT_LIMIT_KILL_ON_JOB_CLOSE;
  if (!job || !SetInformationJobObject(job.get(), JobObjectExtendedLimitInformation, &limits,
                                       sizeof(limits))) {
    fail(program);
  }
  return job;
}

// Starts the program suspended, with these three handles and no other.
PROCESS_INFORMATION start(const std::string& program, const std::vector<std::string>& command,
                          HANDLE input, HANDLE output, HANDLE errors) {
  HANDLE inherited[] = {input, output, errors};
  const size_t count = input == output ? 2 : 3;  // a handle may be there only once
  HANDLE* const first = inherited + 3 - count;
  SIZE_T size = 0;
  InitializeProcThreadAttributeList(nullptr, 1, 0, &size);
  std::vector<char> memory(size);
  STARTUPINFOEXW info = {};
  info.StartupInfo.cb = sizeof(info);
  info.StartupInfo.dwFlags = STARTF_USESTDHANDLES;
  info.StartupInfo.hStdInput = input;
  info.StartupInfo.hStdOutput = output;
  info.StartupInfo.hStdError = errors;
  info.lpAttributeList = reinterpret_cast<LPPROC_THREAD_ATTRIBUTE_LIST>(memory.data());
  if (!InitializeProcThreadAttributeList(info.lpAttributeList, 1, 0, &size) ||
      !UpdateProcThreadAttribute(info.lpAttributeList, 0, PROC_THREAD_ATTRIBUTE_HANDLE_LIST, first,
                                 count * sizeof(HANDLE), nullptr, nullptr)) {
    fail(program);
  }
  std::wstring line = command_line(command);
  PROCESS_INFORMATION started = {};
  const std::wstring path = find_program(program);
  const BOOL is_started = CreateProcessW(
      path.c_str(), line.data(), nullptr, nullptr, TRUE,
      CREATE_SUSPENDED | CREATE_NO_WINDOW | CREATE_NEW_PROCESS_GROUP | EXTENDED_STARTUPINFO_PRESENT,
      nullptr, nullptr, &info.StartupInfo, &started);
  const DWORD error = GetLastError();
  DeleteProcThreadAttributeList(info.lpAttributeList);
  SetLastError(error);
  if (!is_started) fail(program);
  return started;
}

// Waits for a read or write of a pipe; false when its other end is gone. Throws Interrupted.
bool finish(HANDLE pipe, OVERLAPPED* work, BOOL began, DWORD* count) {
  if (!began && GetLastError() != ERROR_IO_PENDING) return false;
  try {
    while (WaitForSingleObject(work->hEvent, kInterruptLookMs) == WAIT_TIMEOUT) interrupt_check();
    interrupt_check();
  } catch (...) {
    CancelIoEx(pipe, work);
    GetOverlappedResult(pipe, work, count, TRUE);  // the system writes to `work` until then
    throw;
  }
  return GetOverlappedResult(pipe, work, count, TRUE) != 0;
}

}  // namespace

struct Subprocess::Child {
  ~Child() {
    kill();
    // Until its end it has its files open, which nobody can remove.
    if (process) WaitForSingleObject(process.get(), INFINITE);
    if (errors >= 0) _close(errors);
  }

  void kill() const {
    if (job) TerminateJobObject(job.get(), 128 + 9);
  }

  Handle job, process;
  DWORD id = 0;
  Handle input, output;
  Handle wrote{CreateEventW(nullptr, TRUE, FALSE, nullptr)};
  Handle was_read{CreateEventW(nullptr, TRUE, FALSE, nullptr)};
  int errors = -1;
};

Subprocess::Subprocess(const std::vector<std::string>& command, unsigned pipes, int input)
    : child_(std::make_unique<Child>()) {
  subprocess_show(command);
  const std::string& program = command.front();
  Pipe to_child, from_child;
  if (pipes & kInput) to_child.make(program, false);
  if (pipes & kOutput) from_child.make(program, true);
  child_->errors = file_open_scratch();
  if (child_->errors < 0) throw Failure(program, errno);
  const Handle errors = copy_inheritable(program, child_->errors);
  const Handle nothing = open_inheritable(program, L"NUL", GENERIC_READ | GENERIC_WRITE);
  const Handle given = input >= 0 ? copy_inheritable(program, input) : Handle();
  child_->job = make_job(program);
  const PROCESS_INFORMATION started =
      start(program, command,
            pipes & kInput ? to_child.theirs.get()
            : given        ? given.get()
                           : nothing.get(),
            pipes & kOutput ? from_child.theirs.get() : nothing.get(), errors.get());
  const Handle thread(started.hThread);
  child_->process = Handle(started.hProcess);
  child_->id = started.dwProcessId;
  if (!AssignProcessToJobObject(child_->job.get(), started.hProcess)) {
    const DWORD error = GetLastError();
    TerminateProcess(started.hProcess, 1);
    SetLastError(error);
    fail(program);
  }
  ResumeThread(thread.get());
  child_->input = std::move(to_child.ours);
  child_->output = std::move(from_child.ours);
}

Subprocess::~Subprocess() = default;

pid_t Subprocess::pid() const { return static_cast<pid_t>(child_->id); }

void Subprocess::kill() { child_->kill(); }

size_t Subprocess::read(void* data, size_t size) {
  char* bytes = static_cast<char*>(data);
  size_t done = 0;
  while (done < size) {
    OVERLAPPED work = {};
    work.hEvent = child_->was_read.get();
    DWORD count = 0;
    const DWORD part = static_cast<DWORD>(std::min<size_t>(size - done, kPipeBytes));
    const BOOL began = ReadFile(child_->output.get(), bytes + done, part, nullptr, &work);
    if (!finish(child_->output.get(), &work, began, &count)) break;
    done += count;
  }
  return done;
}

bool Subprocess::write(const void* data, size_t size) {
  const char* bytes = static_cast<const char*>(data);
  size_t done = 0;
  while (done < size) {
    if (!child_->input) return false;
    OVERLAPPED work = {};
    work.hEvent = child_->wrote.get();
    DWORD count = 0;
    const DWORD part = static_cast<DWORD>(std::min<size_t>(size - done, kPipeBytes));
    const BOOL began = WriteFile(child_->input.get(), bytes + done, part, nullptr, &work);
    if (!finish(child_->input.get(), &work, began, &count)) return false;
    done += count;
  }
  return true;
}

void Subprocess::close_input() { child_->input.reset(); }

int Subprocess::wait() {
  while (WaitForSingleObject(child_->process.get(), kInterruptLookMs) == WAIT_TIMEOUT) {
    interrupt_check();
  }
  DWORD status = 0;
  GetExitCodeProcess(child_->process.get(), &status);
  return static_cast<int>(status);
}

std::string Subprocess::error_text() const {
  std::string text(kMostErrors, '\0');
  const int64_t size = file_read_at(child_->errors, text.data(), text.size(), 0);
  text.resize(size > 0 ? static_cast<size_t>(size) : 0);
  return text;
}

}  // namespace render
