#pragma once
// JSON Schemas of what a route reads and writes, taken from its bindings:
// the rows the engine runs are the rows that describe the API.
#include <cjson/cJSON.h>

#include <string>
#include <vector>

#include "routes/engine/engine.h"

namespace apidoc {

// One input of a route as a caller sends it.
struct Input {
  enum class Place { Query, Body };
  Place place;
  std::string name;
  std::string object;  // a body member inside this object of the body; "" at the top
  const route::Bind *bind;
  const route::ArgTag *param;  // the OpEN argument it fills; NULL for what custom code declares
  bool required;
  std::string note;  // how the program reads it, beyond its type
};

// The inputs of a row in argument order: query parameters and body members.
std::vector<Input> inputsOf(const route::Route &row, int method);

// The schema of an input's value.
cJSON *inputSchema(const Input &input);

// The answer's data object: the row's outputs under their keys. Sets
// `*alwaysShown` when some member is there whenever the data is.
cJSON *answerSchema(const route::Route &row, bool *alwaysShown);

// What went wrong while describing, such as a custom output that does not
// say what it writes; the generator fails when this is not empty.
std::vector<std::string> &problems();

}  // namespace apidoc
