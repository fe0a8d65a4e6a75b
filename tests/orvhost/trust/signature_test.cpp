// What depends on the machine that checks a signature. Real signatures are in signed_packages_test.py.
#include "orvhost/trust/signature.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>

#include "refhost/machine.h"
#include "tests/refhost/support/archive_builder.h"
#include "tests/refhost/support/host_test.h"

namespace orvhost {

namespace {

using End = SignatureFinding::End;
using refhost::ShellEnd;

// Answers every command in the same way.
class AnsweringMachine : public refhost::Machine {
 public:
  AnsweringMachine(ShellEnd::How how, int exitStatus, std::string output)
      : how_(how), exitStatus_(exitStatus), output_(std::move(output)) {
    refhost::SetMachine(this);
  }
  ~AnsweringMachine() override { refhost::SetMachine(nullptr); }

  ShellEnd Run(const refhost::ShellCommand& command) override {
    lines.push_back(command.line);
    std::ofstream(command.outputFile) << output_;
    return {how_, exitStatus_, ""};
  }
  refhost::WorkResult RunApart(const std::function<refhost::WorkResult()>& work, const refhost::WorkLimits& /*limits*/,
                               int /*giveUp*/) override {
    return work();
  }
  bool Pause(unsigned long /*milliseconds*/) override { return true; }
  void Rest(std::chrono::milliseconds /*time*/) override {}
  std::chrono::system_clock::time_point Now() const override { return std::chrono::system_clock::from_time_t(0); }
  std::chrono::steady_clock::time_point SteadyNow() const override { return {}; }
  std::string BootId() const override { return "boot"; }

  std::vector<std::string> lines;

 private:
  ShellEnd::How how_;
  int exitStatus_;
  std::string output_;
};

class SignatureOfAPackage : public refhost::HostTest {
 protected:
  SignatureOfAPackage() {
    folder_.Write("p.zip.sig", std::string("\x88\x03", 2) + "sig");
    std::filesystem::create_directory(folder_ / "keys");
    refhost::StagingFailure failure;
    package_ = refhost::StagedPackage::Stage(folder_.Write("p.zip", refhost::Package("01-24")), &failure);
  }

  void Install(const std::string& name) { folder_.Write("keys/" + name, "\x98 a public key"); }

  SignatureFinding Judge() const { return JudgeSignature(*package_, {"", folder_ / "keys"}); }

  std::unique_ptr<refhost::StagedPackage> package_;
};

TEST_F(SignatureOfAPackage, EachKeyFileIsAskedByItselfAndNoUsersKeys) {
  Install("b.gpg");
  Install("a.gpg");
  const AnsweringMachine machine(ShellEnd::How::kExited, 2, "[GNUPG:] NEWSIG\n[GNUPG:] ERRSIG 12 22 8 00 1 9 AB\n");
  const SignatureFinding finding = Judge();
  EXPECT_EQ(finding.end, End::kRefused);
  EXPECT_EQ(finding.state, "unknown-key");
  const std::string folder = "'" + package_->Folder();
  const auto line = [&](const std::string& key) {
    return "LC_ALL=C /usr/bin/gpgv --homedir " + folder +
           "' --status-fd 1 --weak-digest SHA1 --weak-digest RIPEMD160 --keyring '" + (folder_ / "keys/") + key + "' " +
           folder + "/signature' '" + package_->CopyPath() + "' 2> " + folder + "/gpgv-messages'";
  };
  EXPECT_EQ(machine.lines, (std::vector<std::string>{line("a.gpg"), line("b.gpg")}));
}

TEST_F(SignatureOfAPackage, WithoutGpgvItIsNotChecked) {
  Install("a.gpg");
  const AnsweringMachine machine(ShellEnd::How::kExited, 127, "sh: not found\n");
  const SignatureFinding finding = Judge();
  EXPECT_EQ(finding.end, End::kNotChecked);
  EXPECT_EQ(finding.sentence, "The package's signature cannot be checked: the program /usr/bin/gpgv is missing.");
}

TEST_F(SignatureOfAPackage, AGpgvThatDoesNotEndIsNoAnswerWhateverItPrinted) {
  Install("a.gpg");
  for (const auto how : {ShellEnd::How::kTimedOut, ShellEnd::How::kSignalled, ShellEnd::How::kNotStarted,
                         ShellEnd::How::kInterrupted, ShellEnd::How::kLost}) {
    const AnsweringMachine machine(how, 0, "[GNUPG:] NEWSIG\n[GNUPG:] GOODSIG 12 Maker\n");
    const SignatureFinding finding = Judge();
    EXPECT_EQ(finding.end, End::kNotChecked);
    EXPECT_EQ(finding.sentence, "The package's signature cannot be checked: /usr/bin/gpgv did not come to its end.");
  }
}

TEST_F(SignatureOfAPackage, WithoutAKeyNothingIsRun) {
  const AnsweringMachine machine(ShellEnd::How::kExited, 0, "");
  EXPECT_EQ(Judge().end, End::kAccepted);
  EXPECT_TRUE(machine.lines.empty());
}

TEST_F(SignatureOfAPackage, AFolderOfKeysThatIsNoFolderIsSaidToBe) {
  std::filesystem::remove(folder_ / "keys");
  folder_.Write("keys", "");
  const AnsweringMachine machine(ShellEnd::How::kExited, 0, "");
  const SignatureFinding finding = Judge();
  EXPECT_EQ(finding.end, End::kKeysUnusable);
  EXPECT_EQ(finding.sentence, (folder_ / "keys") + ", from which keys are taken, cannot be read: Not a directory.");
}

}  // namespace
}  // namespace orvhost
