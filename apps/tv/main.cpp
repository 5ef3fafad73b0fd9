#include <cstdio>
#include <exception>
#include <string>
#include <vector>

#include "App.h"
#include "Failure.h"

int main(int count, char** arguments) {
  try {
    return tv::run({arguments + 1, arguments + count});
  } catch (const std::exception& error) {
    std::fprintf(stderr, "tv: %s\n", error.what());
    return tv::EXIT_FAILED;
  }
}
