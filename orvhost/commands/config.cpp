// orvhost config: what holds for the next run, and where each of it comes from.
#include "orvhost/commands/commands.h"

namespace orvhost {

namespace {

Outcome Config(const Run& run) {
  Outcome outcome;
  outcome.phase = "config";
  outcome.verdict = "configured";
  outcome.summary = "What holds, and where it comes from:";
  for (const Setting& setting : run.options.settings) {
    outcome.facts.push_back({setting.key, setting.key, setting.value + " (" + setting.origin + ")"});
  }
  return outcome;
}

constexpr const char* kConfigHelp = R"(Shows the settings that hold, and where each comes from. Of several places the
first one that says something counts: the command line; the environment, for the
install path (ORVHOST_INSTALL_PATH); the file /etc/orvhost.conf; what is built
in.

The file has lines "key = value", and "#" before what is not meant:
  install_path = /srv/orv      a path, as of --install-path
  plugin = /srv/plugin.so      a path, as of --plugin
  server_type = kv6000         a word, as of --server-type
  log_file = /var/log/orv.log  a path, as of --log-file
  signatures = required        or warn, or off: what becomes of a package that
                               none of the installed keys signed; where nothing
                               is said, "required" with a key, else "warn"
  key_folder = /srv/keys.d     a path; /etc/orvhost/keys.d holds the keys else
  quiet = no                   yes or no, as of --quiet
It must belong to root and be writable by nobody else. With an unknown key, a
value of another type or such permissions no subcommand runs.

Example:
  orvhost config

Exit codes: 0 shown; 2 the file cannot be used.)";

}  // namespace

const Command kConfigCommand = {
    "config", "Show which settings hold, and where they come from", kConfigHelp, {}, Config};

}  // namespace orvhost
