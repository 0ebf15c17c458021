#include <cstdlib>

#include "cgi/frontend.h"
#include "cgi/httpd.h"
#include "log/log.h"
#include "open/openapi.h"
#include "open/startup.h"
#include "routes/families.h"

namespace {

constexpr int kLogFacilityUser = 8;

}  // namespace

// Started once per request (CGI) or once for many (FastCGI): the start-up
// is the same, and so is every request's answer.
int main() {
  logInit(LOG_MODE_FILE, kLogFacilityUser, "vexo_cgi");
  if (initHandler("monitoring_v2.cgi", &clientHandle) < 0) {
    logClose();
    return -1;
  }
  httpdTable *table = httpdCreateTable();
  if (table == nullptr) exit(1);
  registerAllRoutes(table);
  int status = 0;
  if (startedAsFastCgi()) {
    status = serveFastCgiRequests(table) == 0 ? 0 : 1;
  } else {
    serveCgiRequest(table);
  }
  openapiClientTearDown(&clientHandle);
  logClose();
  return status;
}
