// The program treesitter-engine: reads the command line and runs the command.
//
//   arguments         reads the command line, with the options of command_options
//   parse_command     item_source finds the files, the engine parses them on all threads, and
//                     json_output, text_output or ctags_output format the records
//   list_command      prints what parse would take
//   check             parses one file; check_text or check_json print what was found
//   index_command     makes an index, and keeps it up to date
//   question_command  asks an index; answer_text or answer_json print the answer
//   listing           prints the languages and versions
//
// The commands are declared in commands.h, exit statuses and messages in messages.h.
#include <csignal>
#include <cstdlib>
#include <exception>
#include <new>

#include "index/index_error.h"
#include "tool/arguments.h"
#include "tool/commands.h"
#include "tool/descriptors.h"
#include "tool/escape.h"
#include "tool/interrupts.h"
#include "tool/messages.h"

namespace {

int execute(const tool::Arguments& arguments) {
  switch (arguments.command) {
    case tool::Command::parse:
      return arguments.lists ? tool::run_list(arguments) : tool::run_parse(arguments);
    case tool::Command::index:
      return tool::run_index(arguments);
    case tool::Command::watch:
      return tool::run_watch(arguments);
    case tool::Command::question:
      return tool::run_question(arguments.question);
    case tool::Command::check:
      return tool::run_check(arguments);
    case tool::Command::languages:
      tool::write_output(tool::languages_text(), tool::EXIT_ALL_PARSED);
      break;
    case tool::Command::help:
      tool::write_output(arguments.help, tool::EXIT_ALL_PARSED);
      break;
    case tool::Command::version:
      tool::write_output(arguments.is_version_json ? tool::version_json() : tool::version_text(),
                         tool::EXIT_ALL_PARSED);
      break;
  }
  return tool::EXIT_ALL_PARSED;
}

}  // namespace

int main(int count, char** arguments) {
  tool::reserve_standard_descriptors();
  // Without these signals write() fails instead, for a closed pipe and for a file that has reached
  // the limit of its size; write_output handles that.
  std::signal(SIGPIPE, SIG_IGN);
  std::signal(SIGXFSZ, SIG_IGN);
  tool::catch_interrupts();
  try {
    const int status = execute(tool::parse_arguments(count, arguments));
    tool::close_output();
    return status;
  } catch (const tool::UsageError& error) {
    tool::complain(error.what());
    tool::complain("see treesitter-engine --help");
  } catch (const repository::IndexError& error) {
    tool::complain(tool::escaped(error.what()));
  } catch (const std::bad_alloc&) {
    tool::complain("out of memory");
  } catch (const std::exception& error) {
    tool::complain(error.what());
  }
  return tool::EXIT_NOT_RUN;
}
