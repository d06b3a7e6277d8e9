#pragma once

#include <gtest/gtest.h>
#include <signal.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <filesystem>
#include <string>
#include <vector>

#include "tests/tools/sd_text.h"

namespace QXTest {

/// A folder of its own for each test, in which the tool runs.
class ToolTest : public testing::Test {
 protected:
  ToolTest() { std::filesystem::create_directory(Path("tmp")); }

  std::string Path(const std::string& name) const { return folder_ / name; }

  /// words: the command and its arguments. first: what the shell is to do before; last: where the
  /// tool's streams go.
  pid_t Start(const std::vector<std::string>& words, const std::string& first = ":",
              const std::string& last = ">out.txt 2>err.txt") {
    // The shell only changes the folder; `exec` leaves its process to the tool.
    std::string line =
        "cd \"$0\" && export TMPDIR=\"$0/tmp\" && " + first + " && exec \"$@\" " + last;
    std::vector<std::string> all = {"/bin/sh", "-c", line, Path(""), QX_TOOL};
    all.insert(all.end(), words.begin(), words.end());
    std::vector<char*> argv;
    for (std::string& word : all) argv.push_back(word.data());
    argv.push_back(nullptr);
    pid_t child = -1;
    // Whatever the tests inherited, such as an ignored SIGINT in the background.
    posix_spawnattr_t attributes;
    sigset_t all_signals;
    ::sigfillset(&all_signals);
    ::posix_spawnattr_init(&attributes);
    ::posix_spawnattr_setsigdefault(&attributes, &all_signals);
    ::posix_spawnattr_setflags(&attributes, POSIX_SPAWN_SETSIGDEF);
    EXPECT_EQ(::posix_spawn(&child, "/bin/sh", nullptr, &attributes, argv.data(), environ), 0);
    ::posix_spawnattr_destroy(&attributes);
    return child;
  }

  /// Runs the tool to its end; fills out_ and err_. The exit status, or minus the signal.
  int Finish(pid_t child) {
    int status = 0;
    ::waitpid(child, &status, 0);
    out_ = ReadFile(Path("out.txt"));
    err_ = ReadFile(Path("err.txt"));
    return WIFEXITED(status) ? WEXITSTATUS(status) : -WTERMSIG(status);
  }
  int Run(const std::vector<std::string>& words) { return Finish(Start(words)); }

  /// Names of all files below a folder of the test, without the texts that the tool printed.
  std::vector<std::string> Files(const std::string& below = "") const {
    std::vector<std::string> names;
    for (const auto& entry : std::filesystem::recursive_directory_iterator(Path(below))) {
      const std::string name = entry.path().lexically_relative(Path("")).string();
      if (!entry.is_directory() && name != "out.txt" && name != "err.txt") names.push_back(name);
    }
    std::sort(names.begin(), names.end());
    return names;
  }

  TemporaryFolder folder_;
  std::string out_, err_;
};

}  // namespace QXTest
