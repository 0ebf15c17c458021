#pragma once
// Which result codes a route answers, taken from how its family maps OpEN's
// results (the program's own mapping table), from what it refuses before
// any call, and from what a custom route declares.
#include <cjson/cJSON.h>

#include <set>
#include <string>

#include "routes/engine/engine.h"

namespace apidoc {

std::set<int32_t> resultCodesOf(const route::Route &row);
// The "resp" member of an answer with `code`: its code, message and status as constants.
cJSON *respSchema(int32_t code);
// How OpEN's results become result codes, from the program's own table:
// "-22 gives 10003, ..., any other failure 10000".
std::string openMappingText();

}  // namespace apidoc
