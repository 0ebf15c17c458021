#pragma once
// The simulated switch writes the output of a "show" command to whatever
// file the call names; a fuzzer that could name files would overwrite the
// machine's. Lines that call such an operation are left out.
#include <string>

// True when `line` is a request (as the simulator parses it) of an
// operation that writes a file named by its caller.
bool callsFileWriter(const std::string &line);
