#include "refhost/driver/command_line.h"

#include <CLI/CLI.hpp>
#include <algorithm>
#include <filesystem>
#include <iostream>

#include "refhost/settings.h"

namespace refhost {
namespace {

// The plug-in of this installation, wherever that was moved to.
std::string DefaultPluginPath() {
  std::error_code error;
  const std::filesystem::path program = std::filesystem::read_symlink("/proc/self/exe", error);
  return (program.parent_path() / ORVHOST_PLUGIN_FROM_PROGRAM).lexically_normal().string();
}

void AddGlobalOptions(CLI::App* app, Options* options) {
  app->add_option("--plugin", options->pluginPath, "Plug-in to load")->capture_default_str();
  app->add_option("--install-path", options->installPath, "Folder of the host's installation")->capture_default_str();
  app->add_option("--server-type", options->serverType, "Server type instead of the one that the machine tells");
  app->add_option("--log-file", options->logFile, "Append the full trace to this file");
  app->add_flag("-v,--verbose", options->verbose, "Show the plug-in's trace while it works");
  app->add_flag("--quiet", options->quiet, "Say nothing but errors");
  app->add_flag("--yes", options->yes, "Confirm what halts the machine");
  app->add_flag("--json", options->json, "Print one JSON object on the standard output and nothing else there");
}

// The name of the subcommand on a command line that could not be parsed, as far as it is one.
std::string NameOf(const CLI::App& app) {
  const auto chosen = app.get_subcommands();
  return chosen.empty() ? "" : chosen.front()->get_name();
}

}  // namespace

ParsedCommandLine ParseCommandLine(int argc, const char* const* argv) {
  ParsedCommandLine parsed;
  Options& options = parsed.options;
  options.pluginPath = DefaultPluginPath();
  options.installPath = Settings().installPath;

  CLI::App app("Identifies and updates a server's management controller (BMC) through a plug-in.", "orvhost");
  app.set_version_flag("--version", std::string("orvhost ") + ORVHOST_VERSION);
  app.require_subcommand(1);
  app.fallthrough();  // global options may stand behind the subcommand
  AddGlobalOptions(&app, &options);
  for (const Command* command : AllCommands()) {
    CLI::App* subcommand = app.add_subcommand(command->name, command->description);
    if (command->addArguments != nullptr) command->addArguments(subcommand, &options);
    subcommand->callback([&parsed, command] { parsed.command = command; });
  }
  try {
    app.parse(argc, argv);
    options.installPath = std::filesystem::absolute(options.installPath).string();
    parsed.outcome.command = parsed.command->name;
  } catch (const CLI::ParseError& error) {
    parsed.command = nullptr;
    parsed.outcome.command = NameOf(app);
    parsed.outcome.phase = "command line";
    // CLI11 reports a request for help or version as an error too.
    if (error.get_exit_code() == static_cast<int>(CLI::ExitCodes::Success)) {
      app.exit(error);
      return parsed;
    }
    options.json = std::any_of(argv, argv + argc, [](const char* word) { return std::string_view(word) == "--json"; });
    parsed.outcome.exitCode = ExitCode::kUsage;
    parsed.outcome.verdict = "usage";
    parsed.outcome.failure = Failure{error.what(), {}, "Run \"orvhost --help\"."};
  }
  return parsed;
}

}  // namespace refhost
