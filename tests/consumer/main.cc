// A consumer's whole program: C80 at 1 kHz of a response file, through the installed facade.
#include <zyra/zyra.h>

#include <iostream>

int main(int argc, char** argv) {
  if (argc != 2) return 2;
  const zyra::Evaluation result = zyra::Response::Open(argv[1]).Evaluate();
  std::cout << "C80 at 1 kHz: " << result.C80_dB(1000) << " dB (zyra " ZYRA_VERSION_STRING ")\n";
}
