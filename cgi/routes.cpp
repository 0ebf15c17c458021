#include "cgi/routes.h"

void httpdAddRoutes(httpdTable *table, const char *dirPath, const RouteRow *rows, size_t count) {
  httpdDirNode *dir = httpdFindOrCreateDir(table, dirPath);
  for (size_t i = 0; i < count; ++i) {
    // A failed registration is logged; that route is simply absent.
    (void)httpdAddEntry(dir, rows[i].opName, rows[i].method, 1, rows[i].handler);
  }
}
