#include "cgi/routes.h"

void httpdAddRoutes(httpdTable *table, const char *dirPath, const RouteRow *rows, size_t count) {
  for (size_t i = 0; i < count; ++i) {
    // A failed registration is logged by httpdAddCContent; that route is simply absent.
    (void)httpdAddCContent(table, dirPath, rows[i].opName, rows[i].method, 1, rows[i].handler);
  }
}
