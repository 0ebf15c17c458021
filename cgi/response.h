#pragma once
#include <cjson/cJSON.h>
#include <cstddef>
#include <cstdint>
#include <span>

enum resultCode : int32_t {
  RC_SUCCESS = 0,
  RC_GENERAL_FAILED = 10000,
  RC_INVALID_ARGUMENT = 10003,
  RC_OBJECT_EXIST = 10011,
  RC_OBJECT_NOT_EXIST = 10012,
  RC_API_NOT_FOUND = 10023,
  RC_UNSUPPORTED_FEATURE = 17002,
};

struct CodeMessage {
  int32_t code;
  const char *message;
};
// Every result code with its message, in the order they are searched.
std::span<const CodeMessage> resultCodeTable();
const char *resultCodeMessage(int32_t code);
int32_t openRcToResultCode(int openRc);
// The lowest OpEN result the mapping tells apart; every result below it, and
// above 0, maps as a general failure.
constexpr int kLowestOpenRc = -29;

int responseJsonRreallocStr(int32_t code, const char *dataKey, const char *dataText, char **answer);
// The same answer from the data's tree (the caller keeps it) instead of its
// printed text, which responseJsonRreallocStr would parse back into that tree.
int responseJsonTreeStr(int32_t code, const char *dataKey, const cJSON *data, char **answer);
int responseJsonStr(int32_t code, const char *dataKey, const char *dataText, char *buffer);
int responseJsonToStr(const cJSON *json, char **text);
int getStrAndCpyTo(const cJSON *json, const char *key, char *dst, size_t len);
int getIntAndCpyTo(const cJSON *json, const char *key, uint32_t *value);
// A JSON number as an unsigned 32-bit value: negative numbers wrap as a
// plain conversion would, larger ones stop at the top of the range.
uint32_t jsonNumberToU32(const cJSON *number);
