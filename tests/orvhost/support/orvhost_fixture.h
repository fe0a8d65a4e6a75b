// Base of the tests that run the tool as a process of its own, with a plug-in that answers as each test asks.
#ifndef TESTS_ORVHOST_SUPPORT_ORVHOST_FIXTURE_H
#define TESTS_ORVHOST_SUPPORT_ORVHOST_FIXTURE_H

#include <gtest/gtest.h>
#include <pty.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <map>
#include <nlohmann/json.hpp>
#include <sstream>

#include "host/DllCommon.h"
#include "orvhost/commands/commands.h"
#include "orvhost/interface/repeated_options.h"
#include "orvhost/journal/journal_folder.h"
#include "orvhost/journal/recorded_run.h"
#include "refhost/module_state.h"
#include "tests/refhost/support/archive_builder.h"
#include "tests/refhost/support/host_test.h"

namespace orvhost {

using nlohmann::json;

// Leaves one object that the tool printed where output_schema_test.py finds it, when there is such a place.
inline void KeepForTheSchema(const std::string& object) {
  static int number = 0;
  const char* folder = getenv("ORVHOST_OUTPUTS");
  if (folder == nullptr) {
    return;
  }
  const auto* test = testing::UnitTest::GetInstance()->current_test_info();
  std::ofstream(std::filesystem::path(folder) /
                (std::string(test->test_suite_name()) + "." + test->name() + "-" + std::to_string(++number) + ".json"))
      << object;
}

class Orvhost : public refhost::HostTest {
 protected:
  Orvhost() {
    unsetenv("TEST_PLUGIN");
    unsetenv("TEST_PLUGIN_VERSION");
    good_ = folder_.Write("good.zip", refhost::Package("01-24"));
    std::filesystem::permissions(folder_.Write(kFlashTool, "#!/bin/sh\n"), std::filesystem::perms(0755));
    setenv(kLabMachine, "1", 1);
    setenv(kLockFolder, (machine_ / "runs").c_str(), 1);
    // Whose packages are to be signed says so.
    setenv(kConfiguration, machine_.Write("orvhost.conf", "signatures = off\n").c_str(), 1);
  }
  ~Orvhost() override {
    if (wroteItsJournals_) {
      ExpectPhasesOfTheirRoads();
    }
    unsetenv("TEST_PLUGIN");
    unsetenv("TEST_PLUGIN_VERSION");
    unsetenv(kLabMachine);
    unsetenv(kLockFolder);
    unsetenv(kConfiguration);
  }

  // The live line counts the phases of a road, so that a run must enter no other one.
  void ExpectPhasesOfTheirRoads() const {
    const std::string folder = JournalFolder(installPath_);
    for (const std::string& id : ListJournals(folder).runs) {
      const RecordedRun run = ReadRun(folder, id);
      for (const Command* command : AllCommands()) {
        for (const JournalEntry& entry : run.entries) {
          if (command->name == run.Begin("command") && entry.kind == "phase" && entry.Text("name") != "journal") {
            EXPECT_NE(std::ranges::find(command->phases, entry.Text("name")), command->phases.end())
                << entry.Text("name") << " of " << command->name;
          }
        }
      }
    }
  }

  std::string CommandLine(const std::string& arguments) const {
    return prefix_ + "\"" ORVHOST_PROGRAM "\" --install-path \"" + installPath_ + "\" --plugin \"" + plugin_ +
           "\" --server-type " + serverType_ + " " + arguments;
  }

  // Without the options of CommandLine(), which every command in a hint repeats.
  std::string WithoutRepeated(std::string text) const {
    const std::string repeated = " --install-path " + ShellWord(std::filesystem::absolute(installPath_).string()) +
                                 " --plugin " + ShellWord(plugin_) + " --server-type " + serverType_;
    for (std::size_t at = 0; !keepsRepeated_ && (at = text.find(repeated, at)) != std::string::npos;) {
      text.erase(at, repeated.size());
    }
    return text;
  }

  // Runs the tool and returns its exit code; its outputs are then in out_ and err_.
  int Run(const std::string& arguments) {
    unsigned long exitCode = 99;
    const std::string command = CommandLine(arguments) + " 2> \"" + (folder_ / "err") + "\"";
    EXPECT_EQ(CCommon_Information::ExecForeignModule(command, folder_ / "out", "", &exitCode, ~0UL), 0);
    out_ = WithoutRepeated(folder_.Read("out"));
    err_ = WithoutRepeated(folder_.Read("err"));
    return static_cast<int>(exitCode);
  }

  // The same with --json; exactly one object on the standard output and nothing beside it.
  json RunJson(const std::string& arguments) {
    const int exitCode = Run(arguments + " --json");
    EXPECT_EQ(std::ranges::count(out_, '\n'), 1) << out_;
    EXPECT_EQ(err_, "");
    KeepForTheSchema(out_);
    json object = json::parse(out_);
    EXPECT_EQ(object["schema"], 2);
    EXPECT_EQ(object["exit_code"], exitCode);
    EXPECT_EQ(object["error"].is_null(), exitCode == 0);
    return object;
  }

  static std::string Sha256Of(const std::string& path) {
    std::string digest(64, '\0');
    FILE* const tool = popen(("sha256sum < \"" + path + "\"").c_str(), "r");
    EXPECT_EQ(fread(digest.data(), 1, digest.size(), tool), digest.size());
    pclose(tool);
    return digest;
  }

  static void Ask(const std::string& words) { setenv("TEST_PLUGIN", words.c_str(), 1); }
  std::string Update(const std::string& package) const { return "update \"" + package + "\""; }
  // Also when it is written and waits.
  std::string UpdateAgain(const std::string& package) const { return Update(package) + " --allow-reinstall"; }

  refhost::ModuleState State() const {
    refhost::ModuleState state;
    std::string error;
    EXPECT_TRUE(refhost::LoadModuleState(refhost::ModuleStateFolder(), &state, &error)) << error;
    return state;
  }

  // Every path below the install folder with its content, but for the outputs that a run is read from and for what
  // every run leaves.
  std::map<std::string, std::string> Tree() const {
    namespace fs = std::filesystem;
    std::map<std::string, std::string> tree;
    for (const auto& entry : fs::recursive_directory_iterator(folder_.Path())) {
      const std::string name = entry.path().lexically_relative(folder_.Path()).string();
      if (name == "out" || name == "err" || name == "orvhost.lock" || name == "orvhost.run" ||
          name.starts_with("journal")) {
        continue;
      }
      tree[name] = entry.is_regular_file() ? folder_.Read(name) : "folder";
    }
    return tree;
  }

  // The maker's flash tool, below the install path.
  static constexpr const char* kFlashTool = "KV6KBMC/Yafuflash";
  // Lets every user update.
  static constexpr const char* kLabMachine = "ORVHOST_LAB_MACHINE";
  // Makes each test a machine of its own.
  static constexpr const char* kLockFolder = "ORVHOST_LAB_LOCK_FOLDER";
  // Has it take its settings from another file.
  static constexpr const char* kConfiguration = "ORVHOST_LAB_CONFIGURATION";

  refhost::TemporaryFolder machine_;
  std::string prefix_;  // of the command line: what runs the program in another way
  std::string installPath_ = folder_.Path();
  std::string serverType_ = "kv6000";
  std::string plugin_ = TEST_PLUGIN_PATH;
  bool keepsRepeated_ = false;
  std::string good_;
  std::string out_;
  std::string err_;
  bool wroteItsJournals_ = true;  // or else the test wrote some by itself
};

// Runs the tool at a terminal and types `answer`.
class OrvhostAtATerminal : public Orvhost {
 protected:
  int RunAtTerminal(const std::string& arguments, const std::string& answer) {
    int terminal = -1;
    const pid_t pid = forkpty(&terminal, nullptr, nullptr, nullptr);
    if (pid == 0) {
      setenv("TERM", "dumb", 1);  // without the live line, which screen_test.py looks at
      execl("/bin/sh", "sh", "-c", CommandLine(arguments).c_str(), nullptr);
      _exit(99);
    }
    screen_.clear();
    bool answered = false;
    char buffer[4096];
    for (ssize_t size = 0; (size = read(terminal, buffer, sizeof buffer)) > 0;) {
      screen_.append(buffer, static_cast<std::size_t>(size));
      if (answered || screen_.find("[y/N]") == std::string::npos) {
        continue;
      }
      answered = true;
      EXPECT_EQ(write(terminal, answer.data(), answer.size()), static_cast<ssize_t>(answer.size()));
    }
    close(terminal);
    int status = 0;
    waitpid(pid, &status, 0);
    return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
  }

  // What the terminal shows, without the places where its lines end.
  std::string Screen() const {
    std::istringstream words(screen_);
    std::string text;
    for (std::string word; words >> word;) {
      text += (text.empty() ? "" : " ") + word;
    }
    return text;
  }

  std::string screen_;
};

}  // namespace orvhost

#endif  // TESTS_ORVHOST_SUPPORT_ORVHOST_FIXTURE_H
