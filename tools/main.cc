// zyra-rsp: the command-line host over the zyra library.
#include <iostream>

#include <CLI/CLI.hpp>

int main(int argc, char** argv) {
  CLI::App app{"zyra-rsp: inspect, convert and evaluate room-acoustic response files"};
  app.set_version_flag("--version", std::string("zyra-rsp ") + ZYRA_VERSION);
  app.require_subcommand(1);
  auto* demo = app.add_subcommand("demo", "synthesise, save, evaluate and report a hall response");
  std::string outDir = ".";
  demo->add_option("--out", outDir, "folder for the demo's files");
  demo->callback([] {
    std::cout << "zyra-rsp demo: the full demo is being built. It will synthesise a hall response\n"
                 "(several loudspeakers, a coherent group, reflections and tail data), save it,\n"
                 "evaluate it and print a per-band report with C50, C80, D50, the times and\n"
                 "Alcons at 1 kHz, and write the energy-time plot.\n";
  });
  try {
    app.parse(argc, argv);
  } catch (const CLI::ParseError& error) {
    return app.exit(error) == 0 ? 0 : 2;
  }
  return 0;
}
