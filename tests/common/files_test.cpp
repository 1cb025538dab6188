#include "common/files.h"

#include <gtest/gtest.h>
#include <signal.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <fstream>
#include <thread>

#include "support/temp_folder.h"

namespace {

namespace fs = std::filesystem;

class Files : public testing::Test {
 protected:
  fs::path At(const std::string& name) const { return folder_.path() / name; }
  // The fault of saving, without the folder; "" if there is none.
  std::string Save(const fs::path& path, const std::string& content) const {
    try {
      tool::SaveFile(path, content);
    } catch (const tool::FileError& error) {
      const std::string text = error.what();
      const std::string above = folder_.path().string() + "/";
      return text.rfind(above, 0) == 0 ? text.substr(above.size()) : text;
    }
    return "";
  }
  size_t Count() const {
    return static_cast<size_t>(std::distance(fs::directory_iterator(folder_.path()), {}));
  }
  static ino_t Inode(const fs::path& path) {
    struct stat found {};
    stat(path.c_str(), &found);
    return found.st_ino;
  }

 private:
  test::TempFolder folder_;
};

TEST_F(Files, AreReplacedAsAWhole) {
  const std::string long_name(250, 'n');
  for (const std::string& name : {std::string("plain"), long_name, std::string("\xff")}) {
    EXPECT_EQ(Save(At(name), "first"), "");
    const mode_t mask = umask(0);
    umask(mask);
    EXPECT_EQ(fs::status(At(name)).permissions(), fs::perms(0666 & ~mask));
    fs::permissions(At(name), fs::perms(0640));
    const ino_t before = Inode(At(name));
    EXPECT_EQ(Save(At(name), ""), "");
    EXPECT_EQ(tool::LoadFile(At(name)), "");
    EXPECT_NE(Inode(At(name)), before) << "it was written over in place";
    EXPECT_EQ(fs::status(At(name)).permissions(), fs::perms(0640));
  }
  EXPECT_EQ(Count(), 3u);
}

TEST_F(Files, KeepLinksThatLeadToThem) {
  fs::create_directory(At("folder"));
  fs::create_symlink("folder/target", At("link"));
  fs::create_symlink(At("link"), At("link to link"));
  for (const char* content : {"new", "again"}) {  // a link to nothing, and to something
    EXPECT_EQ(Save(At("link to link"), content), "");
    EXPECT_EQ(tool::LoadFile(At("folder/target")), content);
    EXPECT_TRUE(fs::is_symlink(At("link")) && fs::is_symlink(At("link to link")));
  }
  fs::create_symlink("round", At("round"));
  EXPECT_EQ(Save(At("round"), "x"), "round: can't be written: Too many levels of symbolic links");
}

TEST_F(Files, AreAsBeforeAfterAFailure) {
  EXPECT_EQ(Save(At("file"), "old"), "");
  // More than a process may write, in a child that leaves its files alone.
  const pid_t child = fork();
  if (child == 0) {
    signal(SIGXFSZ, SIG_IGN);
    const rlimit limit{1000, 1000};
    setrlimit(RLIMIT_FSIZE, &limit);
    const std::string large(5000, 'x');
    _exit(Save(At("file"), large) == "file: can't be written: File too large" &&
                  Save(At("other"), large) == "other: can't be written: File too large"
              ? 0
              : 1);
  }
  int status = 0;
  waitpid(child, &status, 0);
  EXPECT_EQ(status, 0);
  EXPECT_EQ(tool::LoadFile(At("file")), "old");
  EXPECT_EQ(Save(At("none/file"), "x"),
            "none/file: no file can be made beside it: No such file or directory");
  EXPECT_EQ(Save(At("file/file"), "x"), "file/file: can't be written: Not a directory");
  EXPECT_EQ(Save(At(""), "x"), ": can't be written: Is a directory");
  EXPECT_EQ(Count(), 1u);
}

TEST_F(Files, ThatAreNoFilesAreWrittenToAsTheyAre) {
  ASSERT_EQ(mkfifo(At("pipe").c_str(), 0600), 0);
  std::string read;
  std::thread reader([&] { read = tool::LoadFile(At("pipe")); });
  EXPECT_EQ(Save(At("pipe"), "through"), "");
  reader.join();
  EXPECT_EQ(read, "through");
  EXPECT_TRUE(fs::is_fifo(At("pipe")));
  fs::create_symlink("/dev/full", At("full"));
  EXPECT_EQ(Save(At("full"), "x"), "full: can't be written: No space left on device");
  fs::create_symlink("/dev/null", At("null"));
  EXPECT_EQ(Save(At("null"), "x"), "");
  EXPECT_TRUE(fs::is_character_file("/dev/full") && fs::is_character_file("/dev/null"));
  EXPECT_TRUE(fs::is_symlink(At("full")) && fs::is_symlink(At("null")));
}

// Behind what it holds already, as ">> log" means it.
TEST_F(Files, OfTheProgramItselfAreGoneOnWith) {
  std::ofstream(At("log")) << "before ";
  FILE* log = std::fopen(At("log").c_str(), "a");
  const std::string number = std::to_string(fileno(log));
  fs::create_symlink("/proc/self/fd/" + number, At("link"));
  EXPECT_EQ(Save("/dev/fd/" + number, "first "), "");
  EXPECT_EQ(Save(At("link"), "second"), "");
  std::fclose(log);
  EXPECT_EQ(tool::LoadFile(At("log")), "before first second");
  EXPECT_EQ(Save("/dev/fd/" + number, "x"),
            "/dev/fd/" + number + ": can't be written: Bad file descriptor");
}

// Whenever the signal comes: a new file that was begun is finished or goes away.
TEST_F(Files, LeaveNothingBehindWhenInterrupted) {
  EXPECT_EQ(Save(At("file"), std::string(1 << 20, 'o')), "");
  for (int i = 0; i < 20; ++i) {
    const pid_t child = fork();
    if (child == 0)
      for (const std::string content(1 << 20, 'n');;) Save(At("file"), content);
    usleep(3000 + 500 * static_cast<unsigned>(i));
    kill(child, SIGINT);
    int status = 0;
    waitpid(child, &status, 0);
    EXPECT_TRUE(WIFSIGNALED(status));
    EXPECT_EQ(fs::file_size(At("file")), 1u << 20);
    ASSERT_EQ(Count(), 1u);
  }
}

TEST_F(Files, ThatCanNotBeReadTellWhy) {
  for (const auto& [name, reason] : {std::pair{"none", "there is no such file"},
                                     {"none/none", "there is no such file"},
                                     {".", "can't be read: Is a directory"}}) {
    try {
      tool::LoadFile(At(name));
      ADD_FAILURE() << name;
    } catch (const tool::FileError& error) {
      EXPECT_EQ(error.what(), At(name).string() + ": " + reason);
    }
  }
}

}  // namespace
