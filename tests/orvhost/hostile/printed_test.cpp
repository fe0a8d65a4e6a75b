// Names, versions and server types that would steer the terminal, or forge lines of the tool's own.
#include "tests/orvhost/hostile/hostile_package.h"

namespace orvhost {

namespace {

constexpr const char* kForged = "x\r\n\u001b[2m\u009b1m\u202efirmware 01-24 is verified\u2028";
constexpr const char* kForgedAsPrinted = R"(x\r\n\x1b[2m\u009b1m\u202efirmware 01-24 is verified\u2028)";

class PrintedPackages : public Orvhost {
 protected:
  std::string Package(const std::string& name, const std::string& version, const json& types) const {
    const json description = {{"name", name}, {"version", version}, {"server_types", types}};
    return folder_.Write(
        "package",
        ArchiveBuilder().File("module.json", description.dump()).File("fw.ima", "image").Build(Format::kZip));
  }

  // What is said about the package holds the forged text as an escaped one, on a line that begins otherwise.
  static void ExpectPrintable(const std::string& said) {
    EXPECT_NE(said.find(kForgedAsPrinted), std::string::npos) << said;
    EXPECT_EQ(said.find("\nfirmware"), std::string::npos) << said;
    for (const char* raw : {"\x1b", "\u009b", "\u202e", "\u2028", "\r"}) {
      EXPECT_EQ(said.find(raw), std::string::npos) << said;
    }
  }

  void Judge(const std::string& package, int exitCode) {
    for (const char* subcommand : {"check \"", "update \""}) {
      EXPECT_EQ(Run(subcommand + package + "\""), exitCode) << out_ << err_;
      ExpectPrintable(out_ + err_);
    }
  }
};

TEST_F(PrintedPackages, ANameStaysOnItsLine) {
  const std::string package = Package(kForged, "01-24", {"kv6000"});
  Judge(package, 0);
  EXPECT_EQ(RunJson("check \"" + package + "\"")["verdict"], "newer");
  EXPECT_NE(out_.find(R"("x\r\n\u001b[2m)"), std::string::npos) << "for programs it is exact: " << out_;
}

TEST_F(PrintedPackages, AVersionStaysInItsSentence) {
  Judge(Package("n", kForged, {"kv6000"}), 5);
}

TEST_F(PrintedPackages, AServerTypeStaysInItsSentence) {
  Judge(Package("n", "01-24", {kForged}), 6);
}

TEST_F(PrintedPackages, ManyLongServerTypesAreShortenedAndTheEndIsThere) {
  const std::vector<std::string> types(64, std::string(255, 't'));
  EXPECT_EQ(Run("check \"" + Package("n", "01-24", types) + "\""), 6);
  EXPECT_LT(err_.size(), 2000U) << err_;
  EXPECT_NE(err_.find(" characters left out ...]"), std::string::npos) << err_;
  EXPECT_NE(err_.find(", and this machine is kv6000.\n"), std::string::npos) << err_;
}

TEST_F(PrintedPackages, TheVerboseTraceObeysNothingToo) {
  Ask("traces-controls");
  EXPECT_EQ(Run("identify -v"), 0);
  EXPECT_NE(err_.find(R"(steers \u009b1A and \u202ehides)"), std::string::npos) << err_;
}

}  // namespace
}  // namespace orvhost
