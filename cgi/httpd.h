#pragma once
#include <cstdint>

typedef void (*httpdHandler)(void);

enum httpdMethod { HTTPD_GET = 0, HTTPD_POST = 1, HTTPD_DELETE = 2, HTTPD_PUT = 3 };

struct httpdRouteEntry {
  char *opName;
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
void httpdProcessRequest(httpdTable *table);
// Name used for matching: "GET", "POST", "DELETE", "PUT", or an "Invalid method" text.
const char *httpdMethodName(int method);
