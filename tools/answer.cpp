#include "tools/answer.h"

#include <cstdio>
#include <cstdlib>

#include "cgi/response.h"
#include "tools/raii.h"

void answerWith(int32_t code, const char *dataKey, const cJSON *data, AnswerStyle style) {
  char *answer = nullptr;
  if (responseJsonTreeStr(code, dataKey, data, &answer) != 0) return;
  CText owned(answer);
  if (style == AnswerStyle::Line) {
    puts(answer);
  } else {
    fputs(answer, stdout);
  }
}
