#include "orvhost/command_line.h"

#include <CLI/CLI.hpp>
#include <algorithm>
#include <filesystem>
#include <span>
#include <sstream>

#include "orvhost/defaults.h"
#include "orvhost/interface/repeated_options.h"
#include "orvhost/unknown_word.h"
#include "refhost/settings.h"

namespace orvhost {

namespace {

// The plug-in of this installation, wherever that was moved to.
std::string DefaultPluginPath() {
  std::error_code error;
  const std::filesystem::path program = std::filesystem::read_symlink("/proc/self/exe", error);
  return (program.parent_path() / ORVHOST_PLUGIN_FROM_PROGRAM).lexically_normal().string();
}

constexpr const char* kHelp = R"(The steps of an update: identify, check, update, apply, and verify when the
machine is up again. The options above may also follow the subcommand; those of
a subcommand are listed by "orvhost SUBCOMMAND --help".

Results go to the standard output and failures to the standard error: the cause,
the evidence from the plug-in's trace, whether the flash was touched, and the
next safe step. With --json all of it is one object on the standard output, and
nothing is asked. At a terminal one live line shows which phase of how many it
is, the present step and how long that may still take; without a terminal a
plain line does after each 30 s of silence. Neither with --quiet, --json or -v.

Exit codes:
  0   done, or nothing to do
  1   an unexpected error of this program
  2   bad usage, a confirmation is missing, or a folder or log file cannot be used
  3   the plug-in could not be loaded, or fails a check of "orvhost validate"
  4   something is missing on this machine
  5   the package cannot be read, or is not trusted
  6   the package, or the report, is not for this machine, or the package is not
      newer and may be written only with --allow-older or --allow-reinstall
  7   failed; this run did not touch the flash
  8   failed after writing the flash had begun
  9   the BMC runs another version than the one that was installed
  10  another run is at work; nothing was touched
  11  interrupted before the flash was touched
  12  done, but the result could not be written to the standard output

Files:
  /etc/orvhost.conf                   settings; see "orvhost config --help"
  /etc/orvhost/keys.d                 keys of those whose packages are taken
  INSTALL_PATH/repository/state.json  what the host recorded
  INSTALL_PATH/journal                what every run did; see "orvhost history"
  INSTALL_PATH/orvhost.lock           held by the run that is at work
  INSTALL_PATH/orvhost.run            which run that is, or was last
  /run/orvhost                        the same for all runs of the machine
  INSTALL_PATH/tmp                    the plug-in's scratch folder
  INSTALL_PATH/MngSrv                 the management library
  INSTALL_PATH/KV6KBMC/Yafuflash      the maker's flash tool
  /usr/bin/ipmitool, /dev/ipmi0       how the BMC is asked

Environment:
  ORVHOST_INSTALL_PATH     the install path, where --install-path is not given
  SOURCE_DATE_EPOCH        the time of a signature; see "orvhost sign-package"
  TERM                     "dumb" for a terminal that cannot show a live line
  NO_COLOR                 set where nothing is to be coloured
  ORVHOST_LAB_MACHINE      set where any user may update; laboratory only
  ORVHOST_LAB_LOCK_FOLDER  folder in the place of /run/orvhost, where the one
                           above is set; laboratory only
  ORVHOST_LAB_SYSTEM       folder with stand-ins for systemd's sockets and tool,
                           where the first is set; laboratory only
  ORVHOST_LAB_CONFIGURATION
                           file in the place of /etc/orvhost.conf; laboratory
                           only
  ORVHOST_LAB_SLEEP_SCALE  factor for every wait and limit; laboratory only)";

void AddGlobalOptions(CLI::App* app, Options* options) {
  app->add_option("--plugin", options->pluginPath, "Plug-in to load instead of this installation's")->type_name("FILE");
  app->add_option("--install-path", options->installPath,
                  "Folder of the host's installation (default: " + options->installPath + ")")
      ->type_name("DIR");
  app->add_option("--server-type", options->serverType, "Server type instead of the one that the machine reports")
      ->type_name("TYPE");
  app->add_option("--log-file", options->logFile, "Append the full trace to this file")->type_name("FILE");
  app->add_flag("-v,--verbose", options->verbose, "Show the plug-in's trace while it works");
  app->add_flag("--quiet", options->quiet, "Print nothing but errors");
  app->add_flag("--yes", options->yes, "Halt the machine without asking");
  app->add_option("--color", options->color, "Colour the verdict at a terminal: auto or never")
      ->type_name("WHEN")
      ->check(CLI::IsMember({"auto", "never"}))
      ->capture_default_str();
  app->add_flag("--json", options->json, "Print one JSON object on the standard output and nothing else there");
}

// Has `subcommand` fill the argument's field of `options`.
void AddArgument(CLI::App* subcommand, const Argument& argument, Options* options) {
  const auto add = [&](auto field) -> CLI::Option* {
    auto& value = options->*field;
    if constexpr (std::is_same_v<decltype(value), bool&>) {
      return subcommand->add_flag(argument.name, value, argument.description);
    } else {
      return subcommand->add_option(argument.name, value, argument.description)->type_name(argument.typeName);
    }
  };
  CLI::Option* option = std::visit(add, argument.value);
  option->required(argument.isRequired);
  if (argument.name[0] == '-') {
    option->allow_extra_args(false);  // of several values each has the option's name before it
  }
  if (argument.complaint != nullptr) {
    option->check(argument.complaint);
  }
  if (argument.showsDefault) {
    option->capture_default_str();
  }
}

// Those that a command needs which follows this one: what is not given stays as it is.
std::string Repeated(const CLI::App& app, const Options& options) {
  std::string text;
  if (app.count("--install-path") > 0) {
    text += " --install-path " + ShellWord(options.installPath);
  }
  if (app.count("--plugin") > 0) {
    text += " --plugin " + ShellWord(options.pluginPath);
  }
  if (app.count("--server-type") > 0) {
    text += " --server-type " + ShellWord(options.serverType);
  }
  return text;
}

// On a command line that could not be parsed.
bool AsksForNoColour(int argc, const char* const* argv) {
  const std::span<const char* const> words(argv, static_cast<std::size_t>(argc));
  return std::ranges::adjacent_find(words,
                                    [](std::string_view first, std::string_view second) {
                                      return first == "--color" && second == "never";
                                    }) != words.end() ||
         std::ranges::any_of(words, [](std::string_view word) { return word == "--color=never"; });
}

std::string AsTyped(int argc, const char* const* argv) {
  std::string text = "orvhost";
  for (int at = 1; at < argc; ++at) {
    text += " " + ShellWord(argv[at]);
  }
  return text;
}

// The name of the subcommand on a command line that could not be parsed, as far as it is one.
std::string NameOf(const CLI::App& app) {
  const auto chosen = app.get_subcommands();
  return chosen.empty() ? "" : chosen.front()->get_name();
}

void Refuse(const std::string& cause, Outcome* outcome) {
  outcome->exitCode = ExitCode::kUsage;
  outcome->verdict = "usage";
  outcome->failure = Failure{.cause = cause, .evidence = {}, .nextStep = "Run \"orvhost --help\"."};
}

}  // namespace

ParsedCommandLine ParseCommandLine(int argc, const char* const* argv) {
  ParsedCommandLine parsed;
  Options& options = parsed.options;
  options.pluginPath = DefaultPluginPath();
  options.installPath = refhost::Settings().installPath;
  Defaults defaults(&options);

  CLI::App app("Identifies and updates a server's management controller (BMC) through a plug-in.", "orvhost");
  app.set_version_flag("--version", std::string("orvhost ") + ORVHOST_VERSION);
  app.footer(kHelp);
  app.require_subcommand(1);
  app.fallthrough();  // global options may stand behind the subcommand
  AddGlobalOptions(&app, &options);
  for (const Command* command : AllCommands()) {
    CLI::App* subcommand = app.add_subcommand(command->name, command->description);
    subcommand->footer(command->help);
    for (const Argument& argument : command->arguments) {
      AddArgument(subcommand, argument, &options);
    }
    subcommand->callback([&parsed, command] { parsed.command = command; });
  }
  try {
    app.parse(argc, argv);
    options.installPath = std::filesystem::absolute(options.installPath).string();
    options.commandLine = AsTyped(argc, argv);
    options.repeated = Repeated(app, options);
    options.settings = defaults.Settings(app);
    if (!defaults.Error().empty()) {
      parsed.outcome.command = parsed.command->name;
      parsed.outcome.phase = "command line";
      parsed.command = nullptr;
      Refuse(defaults.Error(), &parsed.outcome);
      parsed.outcome.failure->nextStep =
          "Correct that file, or move it away; \"orvhost config --help\" says what it may hold.";
      return parsed;
    }
    parsed.outcome.command = parsed.command->name;
  } catch (const std::filesystem::filesystem_error& error) {
    parsed.command = nullptr;
    parsed.outcome.command = NameOf(app);
    parsed.outcome.phase = "command line";
    Refuse("The install path \"" + options.installPath + "\" is no folder's: " + error.code().message() + ".",
           &parsed.outcome);
  } catch (const CLI::ParseError& error) {
    parsed.command = nullptr;
    parsed.outcome.command = NameOf(app);
    parsed.outcome.phase = "command line";
    // CLI11 reports a request for help or version as an error too.
    if (error.get_exit_code() == static_cast<int>(CLI::ExitCodes::Success)) {
      std::ostringstream answer;
      app.exit(error, answer, answer);
      parsed.answer = answer.str();
      return parsed;
    }
    options.color = AsksForNoColour(argc, argv) ? "never" : options.color;
    options.json = std::any_of(argv, argv + argc, [](const char* word) { return std::string_view(word) == "--json"; });
    const bool isUnknown = error.get_exit_code() == static_cast<int>(CLI::ExitCodes::ExtrasError) ||
                           error.get_exit_code() == static_cast<int>(CLI::ExitCodes::RequiredError);
    const std::string unknown = isUnknown ? UnknownWord(app, argc, argv) : "";
    Refuse(unknown.empty() ? error.what() : unknown, &parsed.outcome);
  }
  return parsed;
}

}  // namespace orvhost
