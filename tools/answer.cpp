#include "tools/answer.h"

#include <cstdio>
#include <cstdlib>

#include "cgi/response.h"
#include "tools/raii.h"

void answerWith(int32_t code, const char *dataKey, const cJSON *data, AnswerStyle style) {
  CText dataText(code == 0 && data != nullptr ? cJSON_PrintUnformatted(data) : nullptr);
  char *answer = nullptr;
  if (responseJsonRreallocStr(code, dataKey, dataText.get(), &answer) != 0) return;
  CText owned(answer);
  if (style == AnswerStyle::Line) {
    puts(answer);
  } else {
    printf("%s", answer);
  }
}
