#include "common/files.h"

#include <fcntl.h>
#include <signal.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <charconv>
#include <optional>
#include <system_error>
#include <vector>

namespace tool {
namespace {

namespace fs = std::filesystem;

[[noreturn]] void Fail(const fs::path& path, const std::string& what, int reason) {
  throw FileError(path.string() + ": " + what + ": " + std::generic_category().message(reason));
}

// Throws with the reason of the system call before it.
[[noreturn]] void FailToWrite(const fs::path& path) {
  Fail(path, "can't be written", errno);
}

// An open file. Close() tells of failures, the destructor doesn't.
class Descriptor {
 public:
  explicit Descriptor(int number) : number_(number) {}
  ~Descriptor() { Close(); }
  Descriptor(const Descriptor&) = delete;
  Descriptor& operator=(const Descriptor&) = delete;

  bool IsOpen() const { return number_ >= 0; }
  int Number() const { return number_; }
  void Take(int number) {
    Close();
    number_ = number;
  }
  bool Close() {
    const int number = number_;
    number_ = -1;
    return number < 0 || close(number) == 0;
  }

 private:
  int number_;
};

// Keeps signals that would end the program away from this thread meanwhile.
class WithoutInterrupts {
 public:
  WithoutInterrupts() {
    sigset_t signals;
    sigemptyset(&signals);
    for (const int signal : {SIGINT, SIGTERM, SIGHUP, SIGQUIT}) sigaddset(&signals, signal);
    pthread_sigmask(SIG_BLOCK, &signals, &before_);
  }
  ~WithoutInterrupts() { pthread_sigmask(SIG_SETMASK, &before_, nullptr); }
  WithoutInterrupts(const WithoutInterrupts&) = delete;
  WithoutInterrupts& operator=(const WithoutInterrupts&) = delete;

 private:
  sigset_t before_{};
};

void WriteAll(const Descriptor& file, std::string_view content, const fs::path& path) {
  while (!content.empty()) {
    const ssize_t written = write(file.Number(), content.data(), content.size());
    if (written < 0 && errno == EINTR) continue;
    if (written < 0) FailToWrite(path);
    content.remove_prefix(static_cast<size_t>(written));
  }
}

// Pipes and most devices keep nothing that could be flushed.
void Flush(const Descriptor& file, const fs::path& path) {
  if (fsync(file.Number()) != 0 && errno != EINVAL && errno != EROFS && errno != ENOTSUP)
    FailToWrite(path);
}

// The path of an open file of this program itself, such as /dev/stdout, is that file: where it is
// at, not its beginning.
std::optional<int> OwnDescriptor(const fs::path& path) {
  std::error_code none;
  const fs::path folder = fs::canonical(path.parent_path(), none);
  if (none || folder != fs::canonical("/proc/self/fd", none) || none) return std::nullopt;
  const std::string name = path.filename().string();
  int number = 0;
  const auto read = std::from_chars(name.data(), name.data() + name.size(), number);
  return read.ec == std::errc() ? std::optional(number) : std::nullopt;
}

struct Target {
  fs::path path;                // behind all links
  std::optional<int> openFile;  // of this program
};

Target Resolve(const fs::path& path) {
  constexpr int kMostLinks = 40;
  Target target{path, {}};
  for (int i = 0; i < kMostLinks; ++i) {
    target.openFile = OwnDescriptor(target.path);
    std::error_code error;
    if (target.openFile || !fs::is_symlink(target.path, error)) return target;
    const fs::path next = fs::read_symlink(target.path, error);
    if (error) Fail(path, "can't be written", error.value());
    target.path = target.path.parent_path() / next;  // an absolute one stays itself
  }
  Fail(path, "can't be written", ELOOP);
}

void WriteThrough(Descriptor& file, std::string_view content, const fs::path& path) {
  if (!file.IsOpen()) FailToWrite(path);
  WriteAll(file, content, path);
  Flush(file, path);
  if (!file.Close()) FailToWrite(path);
}

// A new file beside another one. It goes away unless it takes its place. Faults are told of `told`,
// the path that the user gave.
class NewFile {
 public:
  NewFile(const fs::path& target, const fs::path& told) : target_(target), told_(told) {
    constexpr int kMostTries = 1000;
    constexpr size_t kLongestPart = 100;  // of the name, which must not become too long
    const std::string name = target.filename().string().substr(0, kLongestPart);
    for (int i = 0; i < kMostTries && !file_.IsOpen(); ++i) {
      path_ = target.parent_path() /
              ("." + name + "." + std::to_string(getpid()) + "-" + std::to_string(i) + ".new");
      file_.Take(open(path_.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0666));
      if (!file_.IsOpen() && errno != EEXIST) break;
    }
    if (!file_.IsOpen()) Fail(told_, "no file can be made beside it", errno);
  }
  ~NewFile() {
    if (!isInPlace_) unlink(path_.c_str());
  }
  NewFile(const NewFile&) = delete;
  NewFile& operator=(const NewFile&) = delete;

  // The owner first, where it is ours to give: a change of it takes bits of the mode away.
  void Resemble(const struct stat& old) const {
    [[maybe_unused]] const int owner = fchown(file_.Number(), old.st_uid, old.st_gid);
    if (fchmod(file_.Number(), old.st_mode & 07777) != 0) FailToWrite(told_);
  }
  void Write(std::string_view content) { WriteThrough(file_, content, told_); }
  void TakePlace() {
    if (rename(path_.c_str(), target_.c_str()) != 0) FailToWrite(told_);
    isInPlace_ = true;
  }

 private:
  const fs::path& target_;
  const fs::path& told_;
  fs::path path_;
  Descriptor file_{-1};
  bool isInPlace_ = false;
};

void Replace(const fs::path& target, const struct stat* old, std::string_view content,
             const fs::path& told) {
  // A folder that can be written to would let a protected file be replaced.
  if (old != nullptr && access(target.c_str(), W_OK) != 0) FailToWrite(told);
  const WithoutInterrupts undisturbed;
  NewFile file(target, told);
  if (old != nullptr) file.Resemble(*old);
  file.Write(content);
  file.TakePlace();
}

}  // namespace

std::string LoadFile(const fs::path& path) {
  const Descriptor file(open(path.c_str(), O_RDONLY | O_CLOEXEC));
  if (!file.IsOpen() && (errno == ENOENT || errno == ENOTDIR))
    throw FileError(path.string() + ": there is no such file");
  std::string content;
  std::vector<char> part(1 << 16);
  for (;;) {
    // Of a file that isn't open, the reason stands already.
    const ssize_t size = file.IsOpen() ? read(file.Number(), part.data(), part.size()) : -1;
    if (size == 0) return content;
    if (size > 0)
      content.append(part.data(), static_cast<size_t>(size));
    else if (errno != EINTR)
      Fail(path, "can't be read", errno);
  }
}

void SaveFile(const fs::path& path, std::string_view content) {
  const Target target = Resolve(path);
  struct stat old;
  const bool isThere = stat(target.path.c_str(), &old) == 0;
  if (!isThere && !target.openFile && errno != ENOENT) FailToWrite(path);
  if (!target.openFile && (!isThere || S_ISREG(old.st_mode)))
    return Replace(target.path, isThere ? &old : nullptr, content, path);
  Descriptor file(target.openFile ? dup(*target.openFile)
                                  : open(target.path.c_str(), O_WRONLY | O_NOCTTY | O_CLOEXEC));
  WriteThrough(file, content, path);
}

}  // namespace tool
