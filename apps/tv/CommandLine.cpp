#include "CommandLine.h"

#include <CLI/CLI.hpp>
#include <algorithm>
#include <cstdlib>
#include <map>
#include <memory>

#include "Failure.h"
#include "Text.h"
#include "commands/Commands.h"

namespace tv {
namespace {

const std::map<std::string, std::string> LOG_LEVELS{
    {"info", "INFO"}, {"warn", "WARN"}, {"warning", "WARN"}, {"err", "ERR"}, {"error", "ERR"}};

std::string fromEnvironment(const char* name) {
  const char* value = std::getenv(name);
  return value == nullptr ? "" : value;
}

/// CLI11's message as one line without its own formatting.
std::string oneLine(std::string text) {
  std::ranges::replace(text, '\n', ' ');
  while (!text.empty() && text.back() == ' ') text.pop_back();
  return text;
}

/// What is wrong with words that name no command.
std::string noCommand(const CLI::App& app) {
  const std::vector<std::string> left = app.remaining();
  if (left.empty()) return "a command is missing";
  const std::string& first = left.front();
  if (first.starts_with('-')) return "there is no option \"" + first + "\"";
  std::vector<std::string> names;
  for (const CLI::App* command : app.get_subcommands({})) names.push_back(command->get_name());
  const std::vector<std::string> near = nearNames(first, names);
  return "there is no command \"" + first + "\"" + (near.empty() ? "" : ", is it " + quotedList(near) + "?");
}

UsageError wrongUsage(const CLI::App& app, const CLI::ParseError& error) {
  const auto chosen = app.get_subcommands();
  if (chosen.empty() && error.get_exit_code() == static_cast<int>(CLI::ExitCodes::RequiredError)) {
    return UsageError(noCommand(app) + "; \"tv --help\" shows what there is");
  }
  const std::string command = chosen.empty() ? "" : " " + chosen.front()->get_name();
  return UsageError(oneLine(error.what()) + "; \"tv" + command + " --help\" shows what there is");
}

struct Words {
  std::vector<std::string> receivers;
  std::string logLevel;
};

void addGlobalOptions(CLI::App& app, GlobalOptions& globals, Words& words) {
  app.add_option("--data", globals.data, "Directory of all state (TV_DATA)")->type_name("DIR");
  app.add_option("--library", globals.library, "Directory with locations/ and scan_conf.txt (TV_LIBRARY)")
      ->type_name("DIR");
  app.add_option("--plugin", globals.plugin, "The plugin's shared library")->type_name("FILE");
  app.add_option("--receiver", words.receivers,
                 "A receiver, as in dvb-t=file:DIRECTORY,time=stream; several may be given (TV_RECEIVERS)")
      ->type_name("TYPE=SOURCE[,OPTION...]")
      ->allow_extra_args(false)
      ->multi_option_policy(CLI::MultiOptionPolicy::TakeAll);
  app.add_flag("--json", globals.json, "One JSON value on standard output, and nothing else");
  app.add_flag("--quiet", globals.quiet, "Results only, no messages and no progress");
  app.add_option("--log", words.logLevel, "Log lines of this level and above on standard error: info, warn or err")
      ->type_name("LEVEL");
  app.set_version_flag("--version", "tv " TV_VERSION);
}

void complete(GlobalOptions& globals, const Words& words) {
  if (globals.data.empty()) globals.data = fromEnvironment("TV_DATA");
  if (globals.library.empty()) globals.library = fromEnvironment("TV_LIBRARY");
  for (const std::string& word : words.receivers) globals.receivers.push_back(readReceiver(word));
  if (words.receivers.empty()) globals.receivers = readReceiverList(fromEnvironment("TV_RECEIVERS"));
  requireOneType(globals.receivers);
  if (words.logLevel.empty()) return;
  const auto level = LOG_LEVELS.find(foldCase(words.logLevel));
  if (level == LOG_LEVELS.end()) {
    throw UsageError(R"(--log takes "info", "warn" or "err", not ")" + words.logLevel + "\"");
  }
  globals.logLevel = level->second;
}

}  // namespace

CommandLine readCommandLine(std::vector<std::string> arguments) {
  CommandLine line;
  Words words;
  CLI::App app("The command-line television: channels, guide, playing, teletext and recording.", "tv");
  app.fallthrough();
  addGlobalOptions(app, line.globals, words);
  app.get_formatter()->label("SUBCOMMAND", "COMMAND");
  app.footer("\"tv --help\" shows the options that all commands take.");  // of each command
  Syntax syntax(app);
  addCommands(syntax, line.action);
  for (CLI::App* command : app.get_subcommands({})) command->group("Commands");
  app.footer("\"tv COMMAND --help\" tells more of a command.");
  std::ranges::reverse(arguments);  // as CLI11 takes them
  try {
    app.parse(std::move(arguments));
  } catch (const CLI::CallForHelp&) {
    const auto chosen = app.get_subcommands();
    line.help = chosen.empty() ? app.help() : chosen.front()->help("tv");
    return line;
  } catch (const CLI::CallForAllHelp&) {
    line.help = app.help("", CLI::AppFormatMode::All);
    return line;
  } catch (const CLI::CallForVersion&) {
    line.help = "tv " TV_VERSION "\n";
    return line;
  } catch (const CLI::ParseError& error) {
    throw wrongUsage(app, error);
  }
  complete(line.globals, words);
  return line;
}

}  // namespace tv
