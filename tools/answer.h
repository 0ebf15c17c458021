#pragma once
#include <cjson/cJSON.h>
#include <cstdint>

// How an answer leaves the handler: answers with data are written as they
// are, answers without data (writes, creates, deletes) end with a newline.
enum class AnswerStyle { Data, Line };

// Wraps `data` (may be NULL) under `dataKey` in the envelope and writes it.
// Nothing is written when the envelope cannot be built.
void answerWith(int32_t code, const char *dataKey, const cJSON *data, AnswerStyle style);
