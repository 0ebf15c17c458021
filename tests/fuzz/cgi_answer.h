#pragma once
// What the program may write to standard output for one request: nothing
// (no route), the 403 refusal, the invalid-path text (exactly when the URI
// holds no "/"), or one JSON envelope, after the JSON header when the URI
// is under /api/v2/.
#include <string>

// NULL when `answer` is one of those; otherwise what is wrong with it.
const char *cgiAnswerProblem(const std::string &answer, const std::string &uri);
