#include "commands.h"

int main(int argc, char** argv) {
  return RunProgram(Kvtm(), argc, argv);
}
