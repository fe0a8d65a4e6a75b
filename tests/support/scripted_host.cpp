#include "tests/support/scripted_host.h"

#include <sys/statvfs.h>
#include <sys/wait.h>
#include <unistd.h>

#include <fstream>
#include <sstream>
#include <stdexcept>

namespace {

ScriptedHost* current = nullptr;

std::string Lower(std::string text) {
  for (char& character : text) {
    if (character >= 'A' && character <= 'F') {
      character = static_cast<char>(character - 'A' + 'a');
    }
  }
  return text;
}

void Replace(const std::string& from, const std::string& to, std::string* text) {
  for (std::size_t at = text->find(from); at != std::string::npos; at = text->find(from, at + to.size())) {
    text->replace(at, from.size(), to);
  }
}

std::vector<std::string> Words(const std::string& text) {
  std::istringstream stream(text);
  std::vector<std::string> words;
  for (std::string word; stream >> word;) {
    words.push_back(word);
  }
  return words;
}

std::string Joined(const std::vector<std::string>& words) {
  std::string text;
  for (const std::string& word : words) {
    text += (text.empty() ? "" : " ") + word;
  }
  return text;
}

// The request of a tool's command line as "netfn cmd data...", or "" when the line is none of a tool.
std::string RequestOf(const std::string& commandLine) {
  const std::size_t redirection = commandLine.rfind(" > ");
  if (redirection == std::string::npos) {
    return "";
  }
  if (const std::size_t raw = commandLine.find("\" raw "); raw != std::string::npos) {
    std::vector<std::string> words = Words(commandLine.substr(raw + 6, redirection - raw - 6));
    for (std::string& word : words) {
      word = word.substr(2);
    }
    return Lower(Joined(words));
  }
  if (commandLine.starts_with("echo ")) {
    std::vector<std::string> words = Words(commandLine.substr(5, commandLine.find(" | ") - 5));
    const int netFn = std::stoi(words.at(0), nullptr, 16) / 4;
    words[0] = std::string(1, "0123456789abcdef"[netFn / 16]) + "0123456789abcdef"[netFn % 16];
    return Lower(Joined(words));
  }
  return "";
}

std::string RedirectionTarget(const std::string& commandLine) {
  const std::size_t open = commandLine.rfind(" > \"");
  return commandLine.substr(open + 4, commandLine.size() - open - 5);
}

// An answer without a tool's clothes; dressed when the command line shows which tool asks.
constexpr int kBareAnswer = -1;

CommandEnd Dressed(const CommandEnd& bare, bool makersTool) {
  const std::string& answer = bare.output;
  if (makersTool) {
    return {0, 0, "request sent\nRsp from BMC : " + answer + "\n"};
  }
  if (!answer.starts_with("00")) {
    return {0, 1, ""};
  }
  return {0, 0, answer.substr(2) + "\n"};
}

// Where the hosts' folders are made: in memory if possible, since every test has one. Scripts are run from there.
std::filesystem::path FolderOfFolders() {
  const char* const memory = "/dev/shm";
  struct statvfs system {};
  const bool usable = access(memory, W_OK) == 0 && statvfs(memory, &system) == 0 && (system.f_flag & ST_NOEXEC) == 0;
  return usable ? memory : std::filesystem::temp_directory_path();
}

template <typename T>
bool Take(std::map<std::string, std::deque<T>>* script, const std::string& key, T* taken) {
  const auto found = script->find(key);
  if (found == script->end()) {
    return false;
  }
  *taken = found->second.front();
  found->second.pop_front();
  if (found->second.empty()) {
    script->erase(found);
  }
  return true;
}

template <typename T>
void ExpectUsedUp(const char* what, const std::map<std::string, std::deque<T>>& script) {
  for (const auto& [key, rest] : script) {
    ADD_FAILURE() << rest.size() << " scripted " << what << " never asked for: " << key;
  }
}

// Writes each failure into a file, at once, since the process may become another program.
class FailureFile : public testing::EmptyTestEventListener {
 public:
  explicit FailureFile(std::filesystem::path file) : file_(std::move(file)) {}

 private:
  void OnTestPartResult(const testing::TestPartResult& result) override {
    if (result.failed()) {
      const char* const source = result.file_name();
      std::ofstream(file_, std::ios::app)
          << (source == nullptr ? "" : source) << ":" << result.line_number() << ": " << result.message() << "\n";
    }
  }

  const std::filesystem::path file_;
};

}  // namespace

ScriptedHost::ScriptedHost() : process_(getpid()) {
  if (current != nullptr) {
    throw std::logic_error("a scripted host is there already");
  }
  std::string folder = (FolderOfFolders() / "kestrel-host-XXXXXX").string();
  if (mkdtemp(folder.data()) == nullptr) {
    throw std::runtime_error("cannot make a temporary folder");
  }
  installPath_ = folder;
  std::filesystem::create_directories(installPath_ / "tmp" / "KV6KBMC");
  readableFiles = {kIpmitoolPath};
  managementLibrary.note = [this](const std::string& operation) { Note("library " + operation); };
  current = this;
}

ScriptedHost::~ScriptedHost() {
  ExpectUsedUp("BMC answers", ipmi_);
  ExpectUsedUp("commands", commands_);
  ExpectUsedUp("result lines", resultLines_);
  ExpectUsedUp("system() commands", systems_);
  EXPECT_TRUE(openLibraries.empty()) << "a library was left open";
  current = nullptr;
  if (lastChild > 0) {
    waitpid(lastChild, nullptr, 0);  // it may still write into the folder, unless the test has waited for it
  }
  ExpectNoChildFailures();
  std::filesystem::remove_all(installPath_);
}

ScriptedHost* ScriptedHost::Current() {
  return current;
}

void ScriptedHost::Answer(const std::string& request, const std::string& answer, int times) {
  AnswerRaw(request, {kBareAnswer, 0, answer}, times);
}

void ScriptedHost::AnswerAlways(const std::string& request, const std::string& answer) {
  ipmiAlways_[Lower(request)] = {kBareAnswer, 0, answer};
}

void ScriptedHost::AnswerRaw(const std::string& request, const CommandEnd& end, int times) {
  ipmi_[Lower(request)].insert(ipmi_[Lower(request)].end(), static_cast<std::size_t>(times), end);
}

void ScriptedHost::Command(const std::string& command, const CommandEnd& end, int times) {
  commands_[command].insert(commands_[command].end(), static_cast<std::size_t>(times), end);
}

void ScriptedHost::ResultLine(const std::string& command, const std::string& line, int times) {
  resultLines_[command].insert(resultLines_[command].end(), static_cast<std::size_t>(times), line);
}

void ScriptedHost::System(const std::string& command, int result, int times) {
  systems_[command].insert(systems_[command].end(), static_cast<std::size_t>(times), result);
}

void ScriptedHost::Note(const std::string& line) {
  if (quickTool) {
    return;
  }
  if (getpid() == process_) {
    journal_.push_back(Shorten(line));
  } else {
    std::ofstream(installPath_ / "child-journal", std::ios::app) << Shorten(line) << "\n";
  }
}

std::vector<std::string> ScriptedHost::TakeChildJournal() {
  std::vector<std::string> lines;
  std::ifstream journal(installPath_ / "child-journal");
  for (std::string line; std::getline(journal, line);) {
    lines.push_back(line);
  }
  std::filesystem::remove(installPath_ / "child-journal");
  return lines;
}

void ScriptedHost::BecomeChild() {
  testing::TestEventListeners& listeners = testing::UnitTest::GetInstance()->listeners();
  delete listeners.Release(listeners.default_result_printer());  // it would write to where the child's output goes
  listeners.Append(new FailureFile(ChildFailures()));
}

void ScriptedHost::ExpectNoChildFailures() const {
  if (std::ifstream failures(ChildFailures()); failures) {
    ADD_FAILURE() << "failed in a forked child:\n" << failures.rdbuf();
  }
}

std::vector<std::string> ScriptedHost::TakeJournal() {
  return std::exchange(journal_, {});
}

std::string ScriptedHost::Shorten(std::string text) const {
  Replace(installPath_.string(), "$I", &text);
  return text;
}

CommandEnd ScriptedHost::RunIpmi(const std::string& request) {
  CommandEnd end;
  if (Take(&ipmi_, request, &end)) {
    return end;
  }
  if (const auto always = ipmiAlways_.find(request); always != ipmiAlways_.end()) {
    return always->second;
  }
  ADD_FAILURE() << "no answer scripted for the request " << request;
  return {1, 0, ""};
}

CommandEnd ScriptedHost::RunCommand(const std::string& commandLine) {
  CommandEnd end;
  if (quickTool) {
    quickTool(commandLine);
    return end;
  }
  const std::string key = Shorten(commandLine);
  if (Take(&commands_, key, &end)) {
    if (end.effect) {
      end.effect();
    }
    return end;
  }
  const std::string request = RequestOf(commandLine);
  if (request.empty()) {
    ADD_FAILURE() << "no end scripted for the command " << key;
    return {1, 0, ""};
  }
  end = RunIpmi(request);
  if (end.effect) {
    end.effect();
  }
  if (end.result == kBareAnswer) {
    end = Dressed(end, commandLine.starts_with("echo "));
  }
  if (end.result == 0) {
    std::ofstream(RedirectionTarget(commandLine)) << end.output;
  }
  return end;
}

std::string ScriptedHost::TakeResultLine(const std::string& command) {
  std::string line;
  if (!Take(&resultLines_, Shorten(command), &line)) {
    ADD_FAILURE() << "no result line scripted for " << Shorten(command);
  }
  return line;
}

int ScriptedHost::RunSystem(const std::string& command) {
  int result = -1;
  if (!Take(&systems_, Shorten(command), &result)) {
    ADD_FAILURE() << "no result scripted for system(" << Shorten(command) << ")";
  }
  return result;
}

namespace {

Lines RequestLines(const std::string& command, const Lines& between, const Lines& tail) {
  return {"4 CBMC_KESTREL_Firmware::ExecIPMICommand() [START]",
          "4 CBMC_KESTREL_Firmware::ExecIPMICommand_list() [START]",
          "1 Execute command [" + command + "]",
          "exec " + command + " limit 350000",
          between,
          tail,
          "4 CBMC_KESTREL_Firmware::ExecIPMICommand() [END]"};
}

std::string IpmitoolLine(const std::string& request) {
  std::string line = std::string("\"") + kIpmitoolPath + "\" raw";
  for (const std::string& byte : Words(request)) {
    line += " 0x" + byte;
  }
  return line + " > \"" + kResultFile + "\"";
}

std::string MakersLine(const std::string& request) {
  std::vector<std::string> words = Words(request);
  const int netFnLun = std::stoi(words.at(0), nullptr, 16) * 4 % 256;
  words[0] = std::string(1, "0123456789abcdef"[netFnLun / 16]) + "0123456789abcdef"[netFnLun % 16];
  return "echo " + Joined(words) + " | env -u LD_PRELOAD \"" + kMakersToolPath + "\" > \"" + kResultFile + "\"";
}

std::string DeleteResult() {
  return std::string("delete ") + kResultFile;
}

Lines Failed(const std::string& command, unsigned long exitCode) {
  return RequestLines(command, "2 Failed to execute command " + command + " return " + std::to_string(exitCode),
                      {"4 CBMC_KESTREL_Firmware::ExecIPMICommand_list() [END]", DeleteResult()});
}

Lines Broken(const std::string& command) {
  return RequestLines(command, std::string("2 [") + kResultFile + "] may be broken",
                      "4 CBMC_KESTREL_Firmware::ExecIPMICommand_list() [END]");
}

}  // namespace

Lines Request(const std::string& request) {
  return RequestLines(IpmitoolLine(request), DeleteResult(), "4 CBMC_KESTREL_Firmware::ExecIPMICommand_list() [END]");
}

Lines FailedRequest(const std::string& request, unsigned long exitCode) {
  return Failed(IpmitoolLine(request), exitCode);
}

Lines BrokenRequest(const std::string& request) {
  return Broken(IpmitoolLine(request));
}

Lines MakersRequest(const std::string& request) {
  return RequestLines(MakersLine(request), DeleteResult(), "4 CBMC_KESTREL_Firmware::ExecIPMICommand_list() [END]");
}

Lines FailedMakersRequest(const std::string& request, unsigned long exitCode) {
  return Failed(MakersLine(request), exitCode);
}

Lines BrokenMakersRequest(const std::string& request) {
  return Broken(MakersLine(request));
}

Lines Flow(const std::string& text) {
  return "4 " + text;
}
