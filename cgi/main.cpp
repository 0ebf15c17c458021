#include <cstdlib>

#include "cgi/httpd.h"
#include "log/log.h"
#include "open/openapi.h"
#include "routes/families.h"
#include "tools/common.h"

namespace {

constexpr int kLogFacilityUser = 8;

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
  httpdProcessRequest(table);
  openapiClientTearDown(&clientHandle);
  logClose();
  return 0;
}
