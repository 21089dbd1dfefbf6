// qxdesk: the program of the stand-in host. It only connects the subcommands.

#include "qxdesk/program/form_command.h"
#include "qxdesk/program/sql_command.h"
#include "qxframework/automation/com_error.h"

#include <CLI/CLI.hpp>

#include <cstdio>
#include <exception>
#include <iostream>

namespace {

constexpr int kRefused = 1;
constexpr int kWrongUse = 2;

int run(int argc, char** argv) {
  CLI::App program("The stand-in host of Halvex add-ons.", "qxdesk");
  program.require_subcommand(1);
  qx::desk::Task task;
  qx::desk::addFormCommand(program, task);
  qx::desk::addSqlCommand(program, task);
  try {
    program.parse(argc, argv);
  } catch (const CLI::ParseError& error) {
    // CLI11 has exit codes of its own for each mistake; help and version are no mistakes.
    return program.exit(error) == 0 ? 0 : kWrongUse;
  }
  return task();
}

}  // namespace

int main(int argc, char** argv) {
  try {
    return run(argc, argv);
  } catch (const std::exception& error) {
    std::cerr << error.what() << '\n';
  } catch (const _com_error& error) {
    std::fprintf(stderr, "qxdesk: error 0x%08X\n", static_cast<unsigned>(error.Error()));
  }
  return kRefused;
}
