#include <windows.h>

#include <stdexcept>
#include <thread>
#include <vector>

#include "host/formats/file_name.h"
#include "tests/host/program.h"

namespace kv_test {
namespace {

namespace fs = std::filesystem;

/// An open file, pipe or process; closed when it goes.
class Handle {
 public:
  explicit Handle(HANDLE handle = nullptr) : handle_(handle) {}
  Handle(const Handle&) = delete;
  Handle& operator=(const Handle&) = delete;
  ~Handle() { Close(); }
  HANDLE Get() const { return handle_; }
  HANDLE* Address() { return &handle_; }
  void Close() {
    if (handle_ != nullptr) CloseHandle(handle_);
    handle_ = nullptr;
  }

 private:
  HANDLE handle_;
};

/// A pipe with one end for the program that is run and one for the test.
struct Pipe {
  Handle reader;
  Handle writer;

  enum class Inherited { Reader, Writer };
  explicit Pipe(Inherited end) {
    SECURITY_ATTRIBUTES attributes{sizeof attributes, nullptr, TRUE};
    if (CreatePipe(reader.Address(), writer.Address(), &attributes, 0) == 0) {
      throw std::runtime_error("no pipe");
    }
    SetHandleInformation(end == Inherited::Reader ? writer.Get() : reader.Get(), HANDLE_FLAG_INHERIT, 0);
  }

  std::string ReadAll() const {
    std::string all;
    char part[65536];
    DWORD size = 0;
    while (::ReadFile(reader.Get(), part, sizeof part, &size, nullptr) != 0 && size > 0)
      all.append(part, size);
    return all;
  }

  void WriteAll(const std::string& bytes) {
    DWORD size = 0;
    // The program may end before it has read everything.
    ::WriteFile(writer.Get(), bytes.data(), static_cast<DWORD>(bytes.size()), &size, nullptr);
    writer.Close();
  }
};

/// The arguments as a shell splits them: at blanks outside of single quotes; here each in double quotes.
std::string Quoted(const std::string& arguments) {
  std::string line;
  bool isQuoted = false;
  for (const char c : arguments) {
    if (c == '\'') {
      isQuoted = !isQuoted;
      line += '"';
    } else if (c == '"' || c == '$') {
      throw std::runtime_error(std::string("the tests give no argument with ") + c);
    } else {
      line += c;
    }
  }
  return line;
}

fs::path OwnFolder() {
  std::wstring file(32768, L'\0');
  file.resize(GetModuleFileNameW(nullptr, file.data(), static_cast<DWORD>(file.size())));
  return fs::path(file).parent_path();
}

}  // namespace

Outcome RunKv(const fs::path& folder, const std::string& arguments) {
  return PipeThroughKv(folder, arguments, "");
}

Outcome PipeThroughKv(const fs::path& folder, const std::string& arguments, const std::string& input) {
  Pipe in(Pipe::Inherited::Reader);
  Pipe out(Pipe::Inherited::Writer);
  Pipe err(Pipe::Inherited::Writer);
  STARTUPINFOW startup{};
  startup.cb = sizeof startup;
  startup.dwFlags = STARTF_USESTDHANDLES;
  startup.hStdInput = in.reader.Get();
  startup.hStdOutput = out.writer.Get();
  startup.hStdError = err.writer.Get();
  const fs::path kv = OwnFolder() / "kv.exe";
  // The text is UTF-8, and so the letters of names are.
  std::wstring line = L"\"" + kv.native() + L"\" " + kv_host::PathOf(Quoted(arguments)).native();
  PROCESS_INFORMATION process{};
  if (CreateProcessW(kv.c_str(), line.data(), nullptr, nullptr, TRUE, 0, nullptr, folder.c_str(), &startup,
                     &process) == 0) {
    throw std::runtime_error("cannot run " + kv.string() + ": error " + std::to_string(GetLastError()));
  }
  const Handle running(process.hProcess);
  const Handle thread(process.hThread);
  // The program's own ends are all that may keep the pipes open.
  in.reader.Close();
  out.writer.Close();
  err.writer.Close();

  Outcome outcome{};
  std::thread feeder([&] { in.WriteAll(input); });
  std::thread listener([&] { outcome.err = err.ReadAll(); });
  outcome.out = out.ReadAll();
  feeder.join();
  listener.join();
  std::erase(outcome.err, '\r');  // lines of a text stream end with two characters here
  WaitForSingleObject(running.Get(), INFINITE);
  DWORD status = 0;
  GetExitCodeProcess(running.Get(), &status);
  outcome.status = static_cast<int>(status);
  return outcome;
}

Outcome RunShell(const fs::path& /*folder*/, const std::string& command) {
  throw std::runtime_error("no shell here to run " + command);
}

}  // namespace kv_test
