#pragma once

#include <nlohmann/json.hpp>
#include <ostream>
#include <string>

#include "Table.h"

namespace tv {

using Json = nlohmann::ordered_json;

/// How a command's results are to look.
struct OutputStyle {
  bool json = false;      // one JSON value on the output stream, and nothing else
  bool quiet = false;     // results only: no messages, no progress
  bool terminal = false;  // the output stream is a terminal: progress is a bar
  bool colours = false;
  unsigned width = 0;  // of the terminal in columns, 0 for no limit
};

/// The style for this process's standard output: colours on a terminal unless NO_COLOR is set or TERM is "dumb".
OutputStyle terminalStyle();

/// What a command shows: results and messages on one stream, errors on the other. One thread at a time.
class Output {
 public:
  Output(std::ostream& out, std::ostream& err, OutputStyle style) : _out(out), _err(err), _style(style) {}
  Output(const Output&) = delete;
  Output& operator=(const Output&) = delete;

  const OutputStyle& style() const { return _style; }
  bool json() const { return _style.json; }
  /// False once the reader is gone.
  bool good() const { return _out.good(); }

  void value(const Json& value);       // the one value of --json
  void objectLine(const Json& value);  // one line of a stream of objects
  void table(const Table& table);
  void message(const std::string& text, Tone tone = Tone::PLAIN);  // nothing with --json or --quiet
  void line(const std::string& text);                              // a result for people; nothing with --json
  void note(const std::string& text);                              // on the error stream; nothing with --quiet
  void error(const std::string& text);

  /// How far the work is (0 to 100) and what is being done. Ends with `endProgress`.
  void progress(unsigned percent, const std::string& text);
  void endProgress();
  /// What is now, in one line that the next one replaces; on a terminal only. Ends with `endProgress` too.
  void status(const std::string& text);

 private:
  void clearBar();

  std::ostream& _out;
  std::ostream& _err;
  const OutputStyle _style;
  bool _barShown = false;
  std::string _lastStep;
};

}  // namespace tv
