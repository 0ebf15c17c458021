#pragma once
#include <cstddef>

#include "cgi/httpd.h"

// One route of a family's table; tables are registered in their order.
struct RouteRow {
  const char *opName;
  int method;
  httpdHandler handler;
};

// Registers every row under `dirPath`, all requiring a session.
void httpdAddRoutes(httpdTable *table, const char *dirPath, const RouteRow *rows, size_t count);

template <size_t N>
void httpdAddRoutes(httpdTable *table, const char *dirPath, const RouteRow (&rows)[N]) {
  httpdAddRoutes(table, dirPath, rows, N);
}
