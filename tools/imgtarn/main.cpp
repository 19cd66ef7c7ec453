// imgtarn: try the library's operations from a terminal. Each subcommand loads the library as a
// host does, calls one operation through the object's table and prints one JSON object.
#include <cstdio>
#include <iostream>
#include <new>
#include <opencv2/core.hpp>
#include <stdexcept>

#include "cli.hpp"

namespace imgtarn_cli {

const std::vector<Command>& AllCommands() {
  static const std::vector<Command> commands = [] {
    std::vector<Command> all;
    for (auto family : {MarkCommands, LeadCommands, EdgeCommands, PadCommands, BufferCommands,
                        ContourCommands, DemoCommands}) {
      for (auto& command : family()) all.push_back(std::move(command));
    }
    return all;
  }();
  return commands;
}

void PrintResult(const json::Value& result) {
  std::string text = result.Dump(2);
  std::fwrite(text.data(), 1, text.size(), stdout);
  std::fputc('\n', stdout);
  std::fflush(stdout);
}

int ReportRefused(json::Value result, const std::string& why) {
  result.Set("status", -1);
  result.Set("error", why);
  PrintResult(result);
  std::fprintf(stderr, "imgtarn: %s\n", why.c_str());
  return kExitRefused;
}

namespace {

std::vector<OptionSpec> AllOptions(const Command& command) {
  std::vector<OptionSpec> options = command.options;
  for (auto& common : CommonOptions()) options.push_back(common);
  return options;
}

void PrintCommandHelp(const Command& command) {
  std::printf("usage: imgtarn %s %s\n\n%s\n", command.name.c_str(), command.usage.c_str(),
              command.summary.c_str());
  if (!command.details.empty()) std::printf("\n%s\n", command.details.c_str());
  std::printf("\noptions:\n");
  for (const auto& option : AllOptions(command)) {
    std::string left = "--" + option.name;
    if (!option.shortName.empty()) left = "-" + option.shortName + ", " + left;
    if (!option.value.empty()) left += " " + option.value;
    std::printf("  %-26s %s\n", left.c_str(), option.help.c_str());
  }
  std::printf(
      "\nThe result is one JSON object on stdout. Exit status: 0 the operation ran "
      "(see \"found\"),\n1 the library refused the call (status -1), 2 a wrong command "
      "line, an unreadable\ninput or an error raised by the library.\n");
}

void PrintOverview() {
  std::printf(
      "usage: imgtarn [--library PATH] COMMAND [ARGS] [OPTIONS]\n\n"
      "Runs the operations of libimgtarn.so on image files, calling the library exactly as an\n"
      "inspection host does (dlopen, the exported factory, the object's operation table).\n"
      "Results are printed as one JSON object; --annotate FILE draws them over the input.\n\n"
      "commands:\n");
  for (const auto& command : AllCommands()) {
    std::printf("  %-16s %s\n", command.name.c_str(), command.summary.c_str());
  }
  std::printf(
      "\n`imgtarn COMMAND --help` describes every option of a command.\n"
      "The library is looked for beside the tool (../libimgtarn.so.1), then by the system\n"
      "loader; --library PATH names it explicitly.\n"
      "Exit status: 0 ran, 1 the library refused the call, 2 wrong usage, unreadable input or\n"
      "an error raised by the library.\n");
}

const Command* FindCommand(const std::string& name) {
  for (const auto& command : AllCommands()) {
    if (command.name == name) return &command;
  }
  return nullptr;
}

int RunCommand(const Command& command, std::vector<std::string> tokens,
               const std::string& libraryPath) {
  for (const auto& token : tokens) {
    if (token == "--help" || token == "-h") {
      PrintCommandHelp(command);
      return kExitOk;
    }
  }
  Args args(command.name, AllOptions(command), tokens);
  Context context;
  context.libraryPath = args.Text("library", libraryPath);
  return command.run(context, args);
}

int Main(int argc, char** argv) {
  std::vector<std::string> tokens(argv + 1, argv + argc);
  std::string libraryPath;
  // Options before the command name: --library PATH and --help.
  while (!tokens.empty() && tokens.front().rfind("-", 0) == 0) {
    if (tokens.front() == "--help" || tokens.front() == "-h") {
      PrintOverview();
      return kExitOk;
    }
    if (tokens.front() == "--library" && tokens.size() >= 2) {
      libraryPath = tokens[1];
      tokens.erase(tokens.begin(), tokens.begin() + 2);
      continue;
    }
    throw UsageError("unknown option " + tokens.front() + " (see imgtarn --help)");
  }
  if (tokens.empty()) throw UsageError("missing command (see imgtarn --help)");
  std::string name = tokens.front();
  tokens.erase(tokens.begin());
  if (name == "help") {
    if (tokens.empty()) {
      PrintOverview();
      return kExitOk;
    }
    name = tokens.front();
    tokens = {"--help"};
  }
  const Command* command = FindCommand(name);
  if (command == nullptr) {
    throw UsageError("unknown command '" + name + "' (see imgtarn --help)");
  }
  return RunCommand(*command, tokens, libraryPath);
}

}  // namespace
}  // namespace imgtarn_cli

int main(int argc, char** argv) {
  using imgtarn_cli::kExitUsage;
  std::string where = argc > 1 ? std::string(argv[1]) + ": " : "";
  if (where.rfind("-", 0) == 0) where.clear();
  try {
    return imgtarn_cli::Main(argc, argv);
  } catch (const imgtarn_cli::UsageError& e) {
    std::fprintf(stderr, "imgtarn: %s%s\n", where.c_str(), e.what());
  } catch (const cv::Exception& e) {
    // OpenCV errors leave the library's operations by contract; report them, do not die.
    std::fprintf(stderr, "imgtarn: %sthe library raised an OpenCV error: %s (in %s)\n",
                 where.c_str(), e.err.c_str(), e.func.c_str());
  } catch (const std::out_of_range& e) {
    std::fprintf(stderr, "imgtarn: %sthe library raised a range error: %s\n", where.c_str(),
                 e.what());
  } catch (const std::bad_alloc&) {
    std::fprintf(stderr, "imgtarn: %sout of memory\n", where.c_str());
  } catch (const std::exception& e) {
    std::fprintf(stderr, "imgtarn: %s%s\n", where.c_str(), e.what());
  } catch (...) {
    std::fprintf(stderr, "imgtarn: %san unknown error was raised\n", where.c_str());
  }
  return kExitUsage;
}
