// treesitter-engine: takes files and folders and prints what each declares and refers to.
//
//   main -> arguments     what the user wants
//        -> run           item_source finds files, the engine parses them on all threads,
//                         json_output, text_output or ctags_output form the records
//        -> check         what one file met and took, formed by check_text or check_json
//        -> index_command, question_command
//                         an index is made or kept up to date (watch), and asked
//
// Exit statuses and messages: messages.h.
#include <csignal>
#include <cstdlib>
#include <exception>
#include <new>

#include "index/index_error.h"
#include "tool/arguments.h"
#include "tool/check.h"
#include "tool/descriptors.h"
#include "tool/escape.h"
#include "tool/index_command.h"
#include "tool/interrupts.h"
#include "tool/list_command.h"
#include "tool/listing.h"
#include "tool/messages.h"
#include "tool/question_command.h"
#include "tool/run.h"

namespace {

int execute(const tool::Arguments& arguments) {
  switch (arguments.command) {
    case tool::Command::parse:
      return arguments.lists ? tool::run_list(arguments) : tool::run(arguments);
    case tool::Command::index:
      return tool::run_index(arguments);
    case tool::Command::watch:
      return tool::run_watch(arguments);
    case tool::Command::question:
      return tool::run_question(arguments.question);
    case tool::Command::check:
      return tool::check(arguments);
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
  // A closed pipe is then an error of write, met where the records are written.
  std::signal(SIGPIPE, SIG_IGN);
  std::signal(SIGXFSZ, SIG_IGN);  // and so is a file that may grow no further
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
