// imgtarn: the library's operations from a terminal, on one image or many. Each command turns
// its options into one typed call per image and prints the result as JSON.
#include <cstdio>
#include <iostream>

#include "cli.hpp"

namespace imgtarn_cli {

int& ExitStatus() {
  static int status = kExitOk;
  return status;
}

namespace {

const char* const kFooter =
    "One image prints one JSON object; several (files, or folders of them) print one JSON\n"
    "line per image and a summary on stderr. Exit status: 0 every image ran, 1 an image\n"
    "failed (its result carries \"error\"), 2 the command line cannot run.";

int Main(int argc, char** argv) {
  CLI::App app("Runs imgtarn's operations on image files and prints what they find as JSON.",
               "imgtarn");
  app.require_subcommand(1);
  app.footer(kFooter);
  for (auto add : {AddMarkCommands, AddLeadCommands, AddEdgeCommands, AddPadCommands,
                   AddBufferCommands, AddContourCommands, AddDemoCommand}) {
    add(app);
  }
  try {
    app.parse(argc, argv);
  } catch (const CLI::CallForHelp&) {
    std::cout << app.help();
    return kExitOk;
  } catch (const CLI::ParseError& e) {
    const std::vector<std::string> rest = app.remaining();
    if (app.get_subcommands().empty() && !rest.empty()) {
      throw UsageError("unknown command '" + rest.front() + "' (see imgtarn --help)");
    }
    throw UsageError(e.what());
  }
  return ExitStatus();
}

}  // namespace
}  // namespace imgtarn_cli

int main(int argc, char** argv) {
  try {
    return imgtarn_cli::Main(argc, argv);
  } catch (const cv::Exception& e) {
    std::fprintf(stderr, "imgtarn: OpenCV error: %s (in %s)\n", e.err.c_str(), e.func.c_str());
  } catch (const std::exception& e) {
    std::fprintf(stderr, "imgtarn: %s\n", e.what());
  }
  return imgtarn_cli::kExitUsage;
}
