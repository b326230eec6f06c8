#include <csignal>

#include "commands.h"

int main(int argc, char** argv) {
  // A file-size limit is then an error of the write, which the engine reports, and not the end.
  std::signal(SIGXFSZ, SIG_IGN);
  return RunProgram(KvIndex(), argc, argv);
}
