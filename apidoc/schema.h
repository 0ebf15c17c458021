#pragma once
// JSON Schemas of what a route reads and writes, taken from its bindings:
// the rows the engine runs are the rows that describe the API. Every text
// here is made from what a binding declares or from how the engine reads
// and shows its kind of value, never kept per route.
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
  bool eitherPlace;  // read from the body, or from the query when the body lacks it or gives 0
};

// The inputs of a row in argument order: query parameters and body members.
std::vector<Input> inputsOf(const route::Route &row, int method);

// The schema of an input's value, and what a caller must know of it: what
// it is, how the program reads it, what its absence means.
cJSON *inputSchema(const Input &input);
std::string inputDescription(const Input &input);
// The input's example value: the one it declares, else one its kind allows.
cJSON *inputExample(const route::Bind &bind, const route::ArgTag *param);

// The answer's data object: the row's outputs under their keys. Sets
// `*alwaysShown` when some member is there whenever the data is.
cJSON *answerSchema(const route::Route &row, bool *alwaysShown);

// What went wrong while describing, such as a custom output that does not
// say what it writes; the generator fails when this is not empty.
std::vector<std::string> &problems();

}  // namespace apidoc
