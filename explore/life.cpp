#include "explore/life.h"

#include <cxxabi.h>
#include <sys/mman.h>
#include <ucontext.h>

#include <cstring>
#include <sstream>
#include <stdexcept>

#include "explore/outside.h"
#include "explore/simulated_machine.h"
#include "explore/stage.h"
#include "orvhost/program.h"
#include "refhost/command_observer.h"
#include "refhost/interruption.h"
#include "refhost/trace_sink.h"

namespace explore {

namespace {

constexpr std::size_t kStack = 8UL << 20U;

// One run of the tool on its own stack, and the way back to the simulation.
struct Switch {
  ucontext_t simulation{};
  ucontext_t tool{};
  std::vector<std::string> words;
  int exitCode = -1;
  FaultKind cutBy = FaultKind::kNone;
};

Switch* running = nullptr;

void* Stack() {
  static void* const stack = mmap(nullptr, kStack, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
  return stack;
}

void RunTheTool() {
  std::vector<const char*> arguments;
  for (const std::string& word : running->words) {
    arguments.push_back(word.c_str());
  }
  arguments.push_back(nullptr);
  TheStage().Turn(true);
  running->exitCode = orvhost::RunProgram(static_cast<int>(running->words.size()), arguments.data());
  TheStage().Turn(false);
}

// The run is over as for a killed process: nothing of it goes on, and nothing is tidied up.
void CutOff(FaultKind by) {
  running->cutBy = by;
  TheStage().Turn(false);
  setcontext(&running->simulation);
}

// What a process leaves in this one when it is cut off.
void Forget() {
  refhost::SetTraceSink(nullptr);
  refhost::SetCommandObserver(nullptr);
  refhost::SetInterruptDescriptor(-1);
  GiveBackErrorOutput();
}

void SwitchToTheTool(Switch* one) {
  // What exceptions were in flight belongs to the stack that is left.
  struct Exceptions {
    void* caught;
    unsigned uncaught;
  };
  auto* exceptions = reinterpret_cast<Exceptions*>(abi::__cxa_get_globals());
  const Exceptions before = *exceptions;
  running = one;
  getcontext(&one->tool);
  one->tool.uc_stack.ss_sp = Stack();
  one->tool.uc_stack.ss_size = kStack;
  one->tool.uc_link = &one->simulation;
  makecontext(&one->tool, RunTheTool, 0);
  swapcontext(&one->simulation, &one->tool);
  *exceptions = before;
  running = nullptr;
}

std::vector<std::string> CommandLine(const std::string& words) {
  std::vector<std::string> line = {"orvhost", "--json", "--install-path", kInstallPath, "--plugin", kPluginPath};
  std::istringstream stream(words);
  for (std::string word; stream >> word;) {
    line.push_back(word == "PACKAGE" ? kPackagePath : word);
  }
  return line;
}

}  // namespace

char* EndOfToolStack() {
  return static_cast<char*>(Stack()) + kStack;
}

Life::Life(const MachineKind& machine, Disk& disk)
    : disk_(disk),
      world_(machine),
      programs_(world_, disk),
      machine_(std::make_unique<SimulatedMachine>(world_, programs_)) {
  disk_.TheFiles().now = [this] { return world_.Now(); };
  disk_.Fill(machine);
  TheOutside().disk = &disk_;
  TheOutside().programs = &programs_;
  refhost::SetMachine(machine_.get());
  programs_.beforeFlash = [this] { CheckBeforeFlash(); };
  programs_.beforeHalt = [this] { CheckBeforeHalt(); };
}

Life::~Life() {
  refhost::SetMachine(nullptr);
  disk_.TheFiles().now = [] { return 0; };
}

RunEnd Life::Run(const std::string& words) {
  RunEnd end;
  end.words = words;
  world_.counts = {};
  ++runs_;
  current_ = &end;
  TheOutside().output.clear();
  TheStage().Say("orvhost " + words);
  TheStage().end = CutOff;
  TheStage().look = [this] { return Standing{runs_, world_.Now(), File::changes, File::syncs}; };
  const Microseconds start = world_.Now();
  Switch one;
  one.words = CommandLine(words);
  SwitchToTheTool(&one);
  const int open = CloseWhatIsOpen();
  if (one.cutBy != FaultKind::kNone) {
    Forget();
  }
  current_ = nullptr;
  end.cutBy = one.cutBy;
  end.exitCode = one.exitCode;
  end.leftOpen = end.WasCut() ? 0 : open;
  end.object = nlohmann::json::parse(TheOutside().output, nullptr, false);
  end.counts = world_.counts;
  end.took = world_.Now() - start;
  end.askedToHalt = world_.askedToHalt;
  end.askedToRestart = world_.askedToRestart;
  if (end.cutBy == FaultKind::kPower) {
    world_.LosePower();
    disk_.GoDown(false);
  }
  TheStage().Say(
      end.WasCut()
          ? std::string("  cut off")
          : "  exit " + std::to_string(end.exitCode) + ", " + end.Verdict() +
                (end.object.is_object() && end.object["error"].is_object() ? ": " + end.object["error"].dump() : ""));
  return end;
}

void Life::LetGoDown() {
  if (world_.askedToHalt || world_.askedToRestart) {
    disk_.GoDown(true);
    world_.GoDown(world_.askedToHalt);
  }
  world_.SwitchOn();
}

void Life::ShutDownByHand() {
  disk_.GoDown(true);
  world_.GoDown(true);
  world_.SwitchOn();
}

// Whoever loses the machine now must be able to tell later that the flash may have been touched.
void Life::CheckBeforeFlash() {
  if (current_ == nullptr) {
    return;
  }
  const auto complain = [this](const std::string& text) { current_->complaints.push_back(text); };
  const auto records = nlohmann::json::parse(disk_.Read("/srv/orv/repository/state.json"), nullptr, false);
  if (!records.is_object() || records.value("update_status", 0) != 2) {
    complain("order: the flash begins, and the records do not say so");
  }
  for (const char* file : {"/srv/orv/orvhost.lock", "/run/orvhost/orvhost.lock"}) {
    if (!disk_.IsLocked(file)) {
      complain(std::string("locks: the flash begins while ") + file + " is not held");
    }
  }
  const auto journals = disk_.Names("/srv/orv/journal");  // sorted, which is in the order of the runs
  const std::string journal = journals.empty() ? "" : disk_.Read("/srv/orv/journal/" + journals.back());
  if (journal.find("Execute:") == std::string::npos && journal.find("bmcup.sh") == std::string::npos) {
    complain("order: the flash begins, and the journal does not say so");
  }
}

void Life::CheckBeforeHalt() {
  if (current_ != nullptr && disk_.Holds("/srv/orv/tmp/KV6KBMC/ExistUpdate.txt")) {
    current_->complaints.emplace_back("order: the machine goes down while the update marker is there");
  }
}

}  // namespace explore
