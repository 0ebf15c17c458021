#include <cstdio>
#include <cstdlib>

#include "cgi/httpd.h"
#include "log/log.h"
#include "open/openapi.h"
#include "routes/families.h"
#include "open/startup.h"

namespace {

constexpr int kLogFacilityUser = 8;

int nextStdinByte(void *) { return getchar_unlocked(); }

// The request as the web server hands it to a CGI program.
Request::Fields cgiFields() {
  return {getenv("REQUEST_METHOD"), getenv("REQUEST_URI"),   getenv("QUERY_STRING"),
          getenv("CONTENT_LENGTH"), getenv("HTTP_SESSION"), getenv("HTTP_REFRESH")};
}

void writeAnswer(const Answer &answer) {
  answer.writeTo([](const char *text, size_t length) { fwrite(text, 1, length, stdout); });
}

}  // namespace

int main() {
  logInit(LOG_MODE_FILE, kLogFacilityUser, "vexo_cgi");
  if (initHandler("monitoring_v2.cgi", &clientHandle) < 0) {
    logClose();
    return -1;
  }
  httpdTable *table = httpdCreateTable();
  if (table == nullptr) exit(1);
  registerAllRoutes(table);
  {
    Request request(cgiFields(), nextStdinByte, nullptr);
    writeAnswer(httpdProcessRequest(table, request));
  }
  openapiClientTearDown(&clientHandle);
  logClose();
  return 0;
}
