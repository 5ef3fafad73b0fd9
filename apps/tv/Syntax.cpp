#include "Syntax.h"

#include <CLI/CLI.hpp>
#include <utility>

namespace tv {

Syntax Syntax::command(const std::string& name, const std::string& help) {
  CLI::App* const below = _app->add_subcommand(name, help);
  _app->require_subcommand(_app->get_parent() == nullptr ? 1 : 0, 1);
  return Syntax(*below);
}

void Syntax::word(const std::string& name, std::string& value, const std::string& help) {
  _app->add_option(name, value, help)->required();
}

void Syntax::optionalWord(const std::string& name, std::string& value, const std::string& help) {
  _app->add_option(name, value, help);
}

void Syntax::optionalWord(const std::string& name, std::optional<std::string>& value, const std::string& help) {
  _app->add_option(name, value, help);
}

void Syntax::words(const std::string& name, std::vector<std::string>& values, const std::string& help) {
  _app->add_option(name, values, help)->required();
}

void Syntax::option(const std::string& name, std::string& value, const std::string& type, const std::string& help) {
  _app->add_option(name, value, help)->type_name(type);
}

void Syntax::option(const std::string& name, std::optional<std::string>& value, const std::string& type,
                    const std::string& help) {
  _app->add_option(name, value, help)->type_name(type);
}

void Syntax::number(const std::string& name, std::optional<int>& value, int least, int most, const std::string& help) {
  _app->add_option(name, value, help)->type_name("N")->check(CLI::Range(least, most));
}

void Syntax::flag(const std::string& name, bool& value, const std::string& help) {
  _app->add_flag(name, value, help);
}

void Syntax::whenChosen(std::function<void()> work) {
  _app->callback(std::move(work));
}

}  // namespace tv
