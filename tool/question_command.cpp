// See commands.h.
#include <filesystem>
#include <memory>
#include <string>
#include <system_error>

#include "index/catalogue.h"
#include "index/questions.h"
#include "tool/answer_output.h"
#include "tool/commands.h"
#include "tool/descriptors.h"
#include "tool/escape.h"
#include "tool/messages.h"
#include "tool/output_buffer.h"
#include "tool/terminal.h"

namespace tool {
namespace {

using repository::Answer;
using repository::Questions;

constexpr const char* INCOMPLETE =
    "the index is being made, or a run over it was ended: files may be missing";

// The path from the root of a file that the user names. Relative to the current folder when there
// is such a file; otherwise, as for a file that is gone, as it is given.
std::string path_from_root(const std::string& path, const std::string& root) {
  std::error_code error;
  const auto whole = std::filesystem::weakly_canonical(path, error);
  if (error) return path;
  const std::string found = whole.lexically_relative(root).native();
  return std::filesystem::exists(whole, error) && !found.starts_with("..") ? found : path;
}

class Writing {
 public:
  Writing(Format format, const std::string& root)
      : _form(format == Format::json ? answer_as_json(_out)
                                     : answer_as_text(_out, Terminal::of_output(), root)) {}

  AnswerOutput& form() { return *_form; }
  void flush() { _out.flush(); }

  // Writes the rows, and says on standard error when there are more. False when there are none.
  template <typename Row>
  bool write(const Answer<Row>& answer);

 private:
  OutputSink _sink{EXIT_ALL_PARSED};
  OutputBuffer _out{_sink};
  std::unique_ptr<AnswerOutput> _form;
};

template <typename Row>
bool Writing::write(const Answer<Row>& answer) {
  _form->write(answer.rows);
  if (answer.is_cut) {
    _form->write_cut(answer.rows.size());
    complain("there is more than these " + std::to_string(answer.rows.size()) +
             "; --limit 0 shows all");
  }
  return !answer.rows.empty();
}

repository::FindQuestion find_question(const QuestionArguments& asked) {
  return {.text = asked.text, .match = asked.match, .filter = asked.filter};
}

class Asking {
 public:
  explicit Asking(const QuestionArguments& asked)
      : _asked(asked),
        _questions(asked.path, asked.database),
        _writing(asked.format, _questions.root()) {}

  int operator()();

 private:
  bool ask();
  bool outline();
  bool callees();
  bool changed();

  const QuestionArguments& _asked;
  Questions _questions;
  Writing _writing;
};

bool Asking::outline() {
  const std::string path = path_from_root(_asked.text, _questions.root());
  const auto answer = _questions.outline(path);
  if (!answer) {
    complain("the index has no file '" + escaped(path) + "'");
    return false;
  }
  _writing.form().write_outline(answer->rows);
  return !answer->rows.empty();
}

bool Asking::callees() {
  const auto answer = _questions.callees(_asked.text, _asked.filter);
  if (!answer) {
    complain("the index has no symbol '" + escaped(_asked.text) + "'");
    return false;
  }
  return _writing.write(*answer);
}

bool Asking::changed() {
  const bool is_outdated = _questions.is_outdated();
  if (is_outdated) complain("the index was made by another version, and would be made anew");
  bool has_any = is_outdated;
  _questions.changed([&](const repository::PendingChange& change) {
    has_any = true;
    _writing.form().write(change);
  });
  return has_any;
}

bool Asking::ask() {
  switch (_asked.question) {
    case Question::find:
      return _writing.write(_questions.find(find_question(_asked)));
    case Question::callers:
      return _writing.write(_questions.callers(_asked.text, _asked.filter));
    case Question::callees:
      return callees();
    case Question::references:
      return _writing.write(_questions.references(_asked.text, _asked.filter));
    case Question::importers:
      return _writing.write(_questions.importers(_asked.text, _asked.filter));
    case Question::outline:
      return outline();
    case Question::search:
      return _writing.write(_questions.search(_asked.text, _asked.filter));
    case Question::changed:
      return changed();
    case Question::stats:
      _writing.form().write(_questions.statistics());
      break;
  }
  return true;
}

int Asking::operator()() {
  const bool is_found = ask();
  _writing.flush();
  if (!_questions.is_complete()) complain(INCOMPLETE);
  return is_found ? EXIT_ALL_PARSED : EXIT_NOTHING_FOUND;
}

int ask_catalogue(const QuestionArguments& asked) {
  const repository::Catalogue catalogue(*asked.catalogue);
  Writing writing(asked.format, catalogue.root());
  const auto found = catalogue.find(find_question(asked));
  const bool is_found = writing.write(found.answer);
  writing.flush();
  if (!found.is_complete) complain(INCOMPLETE);
  return is_found ? EXIT_ALL_PARSED : EXIT_NOTHING_FOUND;
}

}  // namespace

int run_question(const QuestionArguments& asked) {
  return asked.catalogue ? ask_catalogue(asked) : Asking(asked)();
}

}  // namespace tool
