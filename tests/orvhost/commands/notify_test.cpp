// orvhost notify: what became of each record, in words.
#include "tests/orvhost/support/orvhost_fixture.h"

namespace orvhost {

namespace {

class Notify : public Orvhost {};

TEST_F(Notify, EverythingIsSent) {
  EXPECT_EQ(Run("notify"), 0) << err_;
  EXPECT_EQ(out_,
            "The service processor has the information.\n"
            "  Operating system: sent\n"
            "  Disks:            sent\n");
  const json object = RunJson("notify");
  EXPECT_EQ(object["verdict"], "sent");
  EXPECT_EQ(object["changed"], true);
  EXPECT_EQ(object["phase"], "send");
  EXPECT_EQ(object["facts"], (json{{"operating_system", "sent"}, {"disks", "sent"}}));
}

TEST_F(Notify, ABmcWithoutTheCapabilityIsNoFailure) {
  Ask("no-capability");
  const json object = RunJson("notify");
  EXPECT_EQ(object["exit_code"], 0);
  EXPECT_EQ(object["verdict"], "not-supported");
  EXPECT_EQ(object["changed"], false);
  EXPECT_EQ(object["facts"]["operating_system"], "not supported by this BMC (its capabilities are 02)");
}

// The plug-in takes it for one that supports neither record, and reports success.
TEST_F(Notify, ABmcThatDoesNotAnswerIsAFailure) {
  Ask("no-answer");
  for (const char* command : {"notify", "methods SendInfoToSVP"}) {
    const json object = RunJson(command);
    EXPECT_EQ(object["exit_code"], 7);
    EXPECT_EQ(object["verdict"], "not-sent");
    EXPECT_EQ(object["changed"], false);
    EXPECT_EQ(object["facts"]["operating_system"], "failed at asking the BMC for its capabilities");
    EXPECT_EQ(object["facts"]["disks"], "failed at asking the BMC for its capabilities");
  }
}

TEST_F(Notify, ARecordWithoutTheSystemsNameIsSentWithANotice) {
  Ask("nameless");
  const json object = RunJson("notify");
  EXPECT_EQ(object["verdict"], "sent");
  EXPECT_EQ(object["notices"],
            json::array({"The operating system's name could not be read from /etc/redhat-release, so "
                         "the record was sent without it."}));
}

TEST_F(Notify, ABmcThatTakesOneOfTheRecordsIsNoFailure) {
  Ask("no-disks");
  const json object = RunJson("notify");
  EXPECT_EQ(object["exit_code"], 0);
  EXPECT_EQ(object["verdict"], "partly-sent");
  EXPECT_EQ(object["changed"], true);
  EXPECT_EQ(object["facts"], (json{{"operating_system", "sent"}, {"disks", "not supported by this BMC"}}));
}

TEST_F(Notify, AFailureNamesTheStepAndWhatWasSentAllTheSame) {
  Ask("locked");
  EXPECT_EQ(Run("notify"), 7);
  EXPECT_EQ(out_, "");
  EXPECT_EQ(
      err_,
      "orvhost notify: Not everything was sent. Operating system: sent. Disks: failed at locking the file.\n"
      "  verdict:         not-sent, exit code 7\n"
      "  record:          MSGID_BMC_0021_F The information could not be sent to the service processor (29: a step "
      "of the transfer to the service processor failed).\n"
      "  trace:           Failed to execute IPMI command(OEM Lock Server Config File) CompletionCode:81\n"
      "  trace:           Failed to execute IPMI command(OEM Lock Server Config File) CompletionCode:81\n"
      "  completion code: 81\n"
      "  flash:           not touched by this run\n"
      "  next step:       Run \"orvhost notify\" again; its text names the step. It sends everything anew. If the "
      "sending before this one failed or was cut off too, a record may have been left locked: start the machine anew "
      "(shutdown -h now, then switch it on) and send again. If locking fails even then, replace the board that has the "
      "service processor.\n");
  const json object = RunJson("notify");
  EXPECT_EQ(object["verdict"], "not-sent");
  EXPECT_EQ(object["changed"], true);
  EXPECT_EQ(object["facts"], (json{{"operating_system", "sent"}, {"disks", "failed at locking the file"}}));
}

TEST_F(Notify, TheMethodThatSendsLeadsOutOfALockedRecordToo) {
  Ask("locked");
  const std::string nextStep = RunJson("notify")["error"]["next_step"];
  EXPECT_NE(nextStep.find("start the machine anew"), std::string::npos);
  EXPECT_EQ(RunJson("methods SendInfoToSVP")["error"]["next_step"], nextStep);
}

TEST_F(Notify, NothingIsMadeUpForAPluginThatTellsNothing) {
  Ask("silent");
  const json object = RunJson("notify");
  EXPECT_EQ(object["verdict"], "result-unknown");
  EXPECT_EQ(object["changed"], false);
  EXPECT_EQ(object["facts"]["disks"], "unknown (the plug-in does not say)");
}

TEST_F(Notify, MissingPrerequisitesAreNamed) {
  Ask("no-tool");
  EXPECT_EQ(RunJson("notify")["exit_code"], 4);
}

TEST_F(Notify, ADryRunSendsNothing) {
  const std::string log = " --log-file \"" + (folder_ / "log") + "\"";
  const json object = RunJson("notify --dry-run" + log);
  EXPECT_EQ(object["verdict"], "dry-run");
  EXPECT_EQ(object["changed"], false);
  EXPECT_EQ(object["summary"].get<std::string>().find("Dry run, nothing is changed. The operating system's name"), 0U);
  EXPECT_EQ(folder_.Read("log").find("ExecVendorMethod"), std::string::npos);
  ASSERT_EQ(Run("notify" + log), 0);
  EXPECT_NE(folder_.Read("log").find("ExecVendorMethod"), std::string::npos);
}

}  // namespace
}  // namespace orvhost
