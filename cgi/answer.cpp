#include "cgi/answer.h"

#include <cstring>
#include <utility>

#include "cgi/response.h"

namespace {

constexpr const char *kForbidden = "Status:403\r\n\r\n";

}  // namespace

Answer Answer::forbidden() {
  Answer answer;
  answer.header_ = kForbidden;
  return answer;
}

Answer Answer::text(CText text) {
  Answer answer;
  answer.bodyLength_ = text ? strlen(text.get()) : 0;
  answer.body_ = std::move(text);
  return answer;
}

Answer Answer::envelope(int32_t code, const char *dataKey, const cJSON *data, AnswerStyle style) {
  char *printed = nullptr;
  if (responseJsonTreeStr(code, dataKey, data, &printed) != RC_SUCCESS) return Answer();
  Answer answer = text(CText(printed));
  answer.newline_ = style == AnswerStyle::Line;
  return answer;
}

size_t Answer::headerLength() const { return strlen(header_); }
