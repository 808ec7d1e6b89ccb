// See git_config.h.
#include "walk/git_config.h"

#include <fcntl.h>

#include <cerrno>
#include <cstddef>
#include <cstdlib>
#include <utility>

#include "walk/text_file.h"
#include "walk/wildmatch.h"

namespace walk {
namespace {

// Files may include each other, and themselves.
constexpr int MOST_DEEP = 10;    // git's own limit
constexpr int MOST_FILES = 256;  // more than anybody has

std::string environment(const char* name) {
  const char* const value = std::getenv(name);
  return value != nullptr ? value : "";
}

bool is_blank(char byte) { return byte == ' ' || byte == '\t' || byte == '\r'; }

bool is_true(std::string value) {
  fold_case(value, 0, value.size());
  if (value.empty() || value == "false" || value == "no" || value == "off") return false;
  return value.find_first_not_of("0+-") != std::string::npos;
}

// Reads one `name = value` after the other.
class Entries {
 public:
  explicit Entries(std::string_view text) : _text(text) {
    if (_text.starts_with("\xef\xbb\xbf")) _at = 3;
  }

  // "core.ignorecase", in lower case. Without the section's name where that has a part in quotes:
  // no setting that is asked for has one.
  std::string name;
  std::string value;  // "true" where the name stands alone

  bool next() {
    for (;;) {
      while (_at < _text.size() && (is_blank(_text[_at]) || _text[_at] == '\n')) ++_at;
      if (_at == _text.size()) return false;
      if (_text[_at] == '[') {
        read_section();
      } else if (_text[_at] == '#' || _text[_at] == ';') {
        skip_line();
      } else {
        read_entry();
        return true;
      }
    }
  }

 private:
  void skip_line() {
    while (_at < _text.size() && _text[_at] != '\n') ++_at;
  }

  void read_section() {
    const std::size_t begin = ++_at;
    bool is_quoted = false;
    bool has_quotes = false;
    for (; _at < _text.size() && _text[_at] != '\n'; ++_at) {
      if (_text[_at] == '"') {
        is_quoted = !is_quoted;
        has_quotes = true;
      }
      if (_text[_at] == '\\' && is_quoted && _at + 1 < _text.size()) ++_at;
      if (_text[_at] == ']' && !is_quoted) break;
    }
    _section = _text.substr(begin, _at - begin);
    if (has_quotes) _section.clear();
    fold_case(_section, 0, _section.size());
    if (_at < _text.size() && _text[_at] == ']') ++_at;
  }

  void read_entry() {
    const std::size_t begin = _at;
    while (_at < _text.size() && _text[_at] != '=' && _text[_at] != '\n' && !is_blank(_text[_at]))
      ++_at;
    name = _section + '.';
    name += _text.substr(begin, _at - begin);
    fold_case(name, 0, name.size());
    while (_at < _text.size() && is_blank(_text[_at])) ++_at;
    if (_at < _text.size() && _text[_at] == '=') {
      ++_at;
      read_value();
    } else {
      value = "true";
      skip_line();
    }
  }

  // Reads to the end of the line; a backslash there continues it.
  void read_value() {
    value.clear();
    std::size_t kept = 0;  // the value's size without unquoted blanks at the end
    bool is_quoted = false;
    for (; _at < _text.size() && _text[_at] != '\n'; ++_at) {
      const char byte = _text[_at];
      if (byte == '"') {
        is_quoted = !is_quoted;
        kept = value.size();
      } else if (byte == '\\' && _at + 1 < _text.size()) {
        kept = take_escaped(_text[++_at]);
      } else if (!is_quoted && (byte == '#' || byte == ';')) {
        skip_line();
        break;
      } else if (is_quoted || !is_blank(byte)) {
        value += byte;
        kept = value.size();
      } else if (!value.empty()) {
        value += byte;
      }
    }
    value.resize(kept);
  }

  std::size_t take_escaped(char byte) {
    if (byte == 'n') byte = '\n';
    if (byte == 't') byte = '\t';
    if (byte != '\n' || _text[_at] == 'n')
      value += byte;  // a real line feed only continues the line
    return value.size();
  }

  std::string_view _text;
  std::size_t _at = 0;
  std::string _section;
};

// `path`, relative to the folder of `file`.
std::string beside(const std::string& file, const std::string& path) {
  return path.starts_with('/') ? path : file.substr(0, file.rfind('/') + 1) + path;
}

class Reader {
 public:
  Reader(GitSettings& settings, std::vector<Found>& faults)
      : _settings(settings), _faults(faults) {}

  // `tolerated`: an errno that is no fault. `depth`: how many files include each other down to this
  // one. Calls itself for included files, MOST_DEEP times at most.
  void read(const GitFile& file, int tolerated = 0, int depth = 0) {
    if (file.path.empty() || _has_ended) return;
    if (depth > MOST_DEEP || ++_files > MOST_FILES) {
      _has_ended = true;
      _faults.push_back({file.shown + file.path, ELOOP, true});
      return;
    }
    std::string text;
    const int error = read_text(file.folder, file.path, Links::followed, text);
    if (error != 0) {
      if (error != tolerated && !is_absence(error)) {
        _faults.push_back({file.shown + file.path, error, true});
      }
      return;
    }
    for (Entries entries(text); entries.next();) {
      if (entries.name == "core.ignorecase") _settings.folds_case = is_true(entries.value);
      if (entries.name == "core.excludesfile") _settings.excludes_file = entries.value;
      if (entries.name == "extensions.objectformat") {
        _settings.hash_size = entries.value == "sha256" ? 32 : 20;
      }
      if (entries.name != "include.path" || entries.value.empty()) continue;
      read({file.folder, beside(file.path, with_home(entries.value)), file.shown}, 0, depth + 1);
    }
  }

 private:
  GitSettings& _settings;
  std::vector<Found>& _faults;
  int _files = 0;
  bool _has_ended = false;
};

}  // namespace

bool is_absence(int error) { return error == ENOENT || error == ENOTDIR || error == EISDIR; }

std::string in_user_settings(std::string_view path) {
  const std::string settings = environment("XDG_CONFIG_HOME");
  if (!settings.empty()) return settings + '/' + std::string(path);
  const std::string home = environment("HOME");
  return home.empty() ? "" : home + "/.config/" + std::string(path);
}

std::string with_home(const std::string& path) {
  return path.starts_with("~/") ? environment("HOME") + path.substr(1) : path;
}

GitSettings read_git_settings(const GitFile& of_repository, std::vector<Found>& faults) {
  GitSettings settings;
  Reader reader(settings, faults);
  const auto read_users = [&](std::string path) {
    // A process that may not enter the user's home goes on without these files, as git does.
    reader.read({AT_FDCWD, std::move(path), ""}, EACCES);
  };
  if (!is_true(environment("GIT_CONFIG_NOSYSTEM"))) {
    const std::string other = environment("GIT_CONFIG_SYSTEM");
    read_users(other.empty() ? "/etc/gitconfig" : other);
  }
  if (const std::string other = environment("GIT_CONFIG_GLOBAL"); !other.empty()) {
    read_users(other);
  } else {
    read_users(in_user_settings("git/config"));
    read_users(with_home("~/.gitconfig"));
  }
  reader.read(of_repository);
  return settings;
}

}  // namespace walk
