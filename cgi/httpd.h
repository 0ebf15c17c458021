#pragma once
#include <cstdint>

#include "cgi/answer.h"
#include "cgi/request.h"

// A route's handler: everything it reads is in the request, everything it
// says is in the answer.
typedef Answer (*httpdHandler)(Request &request);

enum httpdMethod { HTTPD_GET = 0, HTTPD_POST = 1, HTTPD_DELETE = 2, HTTPD_PUT = 3 };

struct httpdRouteEntry {
  const char *opName;
  int32_t method;
  int32_t needsSession;
  httpdHandler handler;
  httpdRouteEntry *next;
};

struct httpdDirNode {
  char *name;
  httpdDirNode *children;
  httpdDirNode *next;
  httpdRouteEntry *operations;
};

struct httpdTable {
  httpdDirNode *root;
};

httpdTable *httpdCreateTable(void);
int httpdAddCContent(httpdTable *table, const char *dirPath, const char *opName, int method,
                     int needsSession, httpdHandler handler);
// Finds the route of `request`, checks its session and runs it.
Answer httpdProcessRequest(httpdTable *table, Request &request);
// The two halves of httpdAddCContent, so that a family's table finds its
// directory once: the node for a path (created as needed; NULL when out of
// memory), and one entry added at the head of a node's operations. The entry
// keeps `opName` itself, not a copy: the route tables' names are constants,
// and a copy for each of hundreds of routes is paid by every request.
httpdDirNode *httpdFindOrCreateDir(httpdTable *table, const char *dirPath);
int httpdAddEntry(httpdDirNode *dir, const char *opName, int method, int needsSession, httpdHandler handler);
// Name used for matching: "GET", "POST", "DELETE", "PUT", or an "Invalid method" text.
const char *httpdMethodName(int method);
