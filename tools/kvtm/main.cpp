// kvtm: the workbench of whoever debugs a database page or an index. It shows stored bytes as hex
// and values as text, through the public interface of the type manager alone.
#include <cstdio>

int main() {
  std::fputs("kvtm: no command is built in yet\n", stderr);
  return 2;
}
