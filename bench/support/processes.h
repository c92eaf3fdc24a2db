// Programs of the system as peers.
#pragma once

#include <string>
#include <vector>

namespace kvdm::bench {

// Runs a program found by the path, its output going nowhere; throws when it cannot be started or fails.
void runProgram(const std::vector<std::string>& arguments);

} // namespace kvdm::bench
