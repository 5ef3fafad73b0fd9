#pragma once

#include <string>
#include <vector>

namespace tv {

/// The whole program: does what the arguments after the program's name say and gives the exit status.
int run(const std::vector<std::string>& arguments);

}  // namespace tv
