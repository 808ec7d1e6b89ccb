// write_manual FOLDER: writes the manual pages to FOLDER/man1, and what the shells complete to
// FOLDER/bash, zsh and fish. Run by the build; not installed.
#include <exception>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <stdexcept>
#include <string>

#include "tool/manual/commands.h"
#include "tool/manual/manual.h"

namespace {

void write_file(const std::filesystem::path& path, const std::string& text) {
  std::ofstream file(path, std::ios::binary);
  file << text;
  file.close();
  if (!file) throw std::runtime_error("cannot write " + path.string());
}

void write_manual(const std::filesystem::path& folder) {
  const auto line = tool::manual::command_line();
  const auto pages = folder / "man1";
  std::filesystem::create_directories(pages);
  const auto write_page = [&](const tool::manual::Command& command) {
    write_file(pages / (page_name(line, command) + ".1"), man_page(line, command));
  };
  write_page(line.whole);
  for (const auto& command : line.commands) write_page(command);
  write_file(folder / "bash", bash_completion(line));
  write_file(folder / "zsh", zsh_completion(line));
  write_file(folder / "fish", fish_completion(line));
}

}  // namespace

int main(int count, char** arguments) {
  if (count != 2) {
    std::cerr << "write_manual: takes one FOLDER\n";
    return 2;
  }
  try {
    write_manual(arguments[1]);
  } catch (const std::exception& error) {
    std::cerr << "write_manual: " << error.what() << '\n';
    return 1;
  }
  return 0;
}
