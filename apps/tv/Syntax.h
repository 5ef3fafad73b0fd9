#pragma once

#include <functional>
#include <optional>
#include <string>
#include <vector>

namespace CLI {
class App;
}

namespace tv {

/// The words and options of a command, on the way to CLI11, whose long header only one source reads. Values are written
/// when a command line is read and must live until then.
class Syntax {
 public:
  explicit Syntax(CLI::App& app) : _app(&app) {}

  /// A command below this one.
  Syntax command(const std::string& name, const std::string& help);

  /// Words behind the command's name, in this order; a line with an optional one has those before it as well.
  void word(const std::string& name, std::string& value, const std::string& help);
  void optionalWord(const std::string& name, std::string& value, const std::string& help);
  void optionalWord(const std::string& name, std::optional<std::string>& value, const std::string& help);  // may be ""
  void words(const std::string& name, std::vector<std::string>& values, const std::string& help);  // one at least

  /// What begins with "--". `type` stands for the value in the help; numbers outside their limits are wrong usage.
  void option(const std::string& name, std::string& value, const std::string& type, const std::string& help);
  void option(const std::string& name, std::optional<std::string>& value, const std::string& type,
              const std::string& help);  // may be ""
  void number(const std::string& name, std::optional<int>& value, int least, int most, const std::string& help);
  void flag(const std::string& name, bool& value, const std::string& help);

  /// What happens when the command is chosen, once its values are there; may throw UsageError. Of a command and one
  /// below it, the one below comes first.
  void whenChosen(std::function<void()> work);

 private:
  CLI::App* _app;
};

}  // namespace tv
