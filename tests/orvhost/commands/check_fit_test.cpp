// What orvhost check says when the plug-in refuses a package because of the machine's model.
#include "tests/orvhost/support/orvhost_fixture.h"

namespace orvhost {

namespace {

class Fit : public Orvhost {
 protected:
  // Checks a package of version 01-24 for the model.
  json Checked(const std::string& model) {
    const std::string package = folder_.Write("package.zip", refhost::Package("01-24", model));
    const auto before = Tree();
    json object = RunJson("check \"" + package + "\"");
    EXPECT_EQ(Tree(), before);
    return object;
  }
};

TEST_F(Fit, AMachineOfAnotherModelIsNamedWithThePackages) {
  struct Case {
    const char* asked;
    const char* model;
    const char* cause;
  };
  constexpr Case kCases[] = {
      {"is-long", "",
       "The package, version 01-24, is for the ordinary model; this machine's is the model \"long/ssd\" (serial number "
       "SN0123456789AE00)."},
      {"is-long", "tall",
       "The package, version 01-24, is for the model \"tall\"; this machine's is the model \"long/ssd\" (serial number "
       "SN0123456789AE00)."},
      {"is-ordinary", "long/ssd",
       "The package, version 01-24, is for the model \"long/ssd\"; this machine's is the ordinary model (serial number "
       "SN0123456789AA00)."}};
  for (const Case& each : kCases) {
    Ask(each.asked);
    const json object = Checked(each.model);
    EXPECT_EQ(object["exit_code"], 6);
    EXPECT_EQ(object["verdict"], "does-not-fit");
    EXPECT_EQ(object["error"]["cause"], each.cause);
    EXPECT_EQ(object["error"]["next_step"], "Get the package that is made for this machine.");
  }
}

TEST_F(Fit, APackageForTheMachinesModelFits) {
  Ask("is-long");
  const json object = Checked("long/ssd");
  EXPECT_EQ(object["verdict"], "newer");
}

TEST_F(Fit, AMachineWithoutAUsableSerialNumber) {
  Ask("short-serial");
  json object = Checked("");
  EXPECT_EQ(object["exit_code"], 6);
  EXPECT_EQ(object["verdict"], "does-not-fit");
  EXPECT_EQ(
      object["error"]["cause"],
      "The package, version 01-24, cannot be matched with this machine, because the plug-in found no usable serial "
      "number, only \"SN01\".");
  EXPECT_EQ(
      object["error"]["next_step"],
      "Have the serial number in the machine's system tables set right (\"dmidecode --type system\" shows it), then "
      "run the same command again.");
  Ask("no-serial");
  object = Checked("");
  EXPECT_EQ(
      object["error"]["cause"],
      "The package, version 01-24, cannot be matched with this machine, because the plug-in found no serial number.");
}

TEST_F(Fit, AMachineThatDidNotReportItsTypeToThePlugInDoesNotCondemnThePackage) {
  Ask("other-version");
  const json object = Checked("");
  EXPECT_EQ(object["exit_code"], 4);
  EXPECT_EQ(object["verdict"], "server-type-unknown");
  EXPECT_EQ(object["phase"], "fit");
  EXPECT_EQ(object["error"]["cause"],
            "The plug-in judged the package for version BMC:1, and the BMC runs 01-23: this machine did not report its "
            "server type then.");
  EXPECT_EQ(object["error"]["next_step"],
            "Run the same command again; if that fails too, give the server type with --server-type.");
}

}  // namespace
}  // namespace orvhost
