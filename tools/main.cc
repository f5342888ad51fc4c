// zyra-rsp: the command-line host over the zyra library.
#include "tools/command_line.h"

int main(int argc, char** argv) {
  return zyra::tool::ToolMain(argc, argv);
}
