#include <cstdio>

#include "cli/CliVerbs.h"

namespace zel::cli {

int Tags(const Args&) {
  std::fprintf(stderr, "zel-cli: not yet\n");
  return 2;
}

}  // namespace zel::cli
