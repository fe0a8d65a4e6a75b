// A host that, unlike orvhost, checks nothing itself: it hands a package straight to the plug-in's Update, so that what
// the plug-in makes of it can be seen. Prints what Update returned.
#include <cstdio>
#include <list>
#include <string>

#include "orvhost/plugin/session.h"
#include "orvhost/trace/line_sink.h"
#include "refhost/module_state.h"
#include "refhost/settings.h"

int main(int argc, char** argv) {
  if (argc != 6) {
    std::fprintf(stderr, "usage: trusting_host PLUGIN INSTALL_PATH LOG_FILE MODULE_VERSION PACKAGE\n");
    return 2;
  }
  const std::string pluginPath = argv[1];
  refhost::Configure({argv[2], "", ""});
  std::string error;
  const auto log = orvhost::LineSink::OpenFile(argv[3], &error);
  refhost::SetTraceSink(log.get());
  refhost::ModuleState state;
  state.update.info.moduleVersion = argv[4];
  if (!log || !refhost::SaveModuleState(refhost::ModuleStateFolder(), state, &error)) {
    std::fprintf(stderr, "trusting_host: %s\n", error.c_str());
    return 1;
  }
  const auto session = orvhost::Session::Open(pluginPath, &error);
  if (!session) {
    std::fprintf(stderr, "trusting_host: %s\n", error.c_str());
    return 1;
  }
  std::list<std::string> everything;
  std::printf("%d\n", session->Firmware().Update("", argv[5], &everything, false));
  return 0;
}
