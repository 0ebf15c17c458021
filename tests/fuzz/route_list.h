#pragma once
// The registered routes as the request fuzzer reaches them, and a guard
// that keeps the directory tree as registration built it.
#include <string>
#include <vector>

#include "cgi/httpd.h"

struct RouteRef {
  std::string path;  // directory and operation: "/api/v2/monitoring/lldp/tx-hold"
  int method;
};

// Every route of the table, sorted by path and method, so that an index
// names the same route whatever order the families register in.
std::vector<RouteRef> listRoutes(const httpdTable *table);

// Dispatch creates a node for every unknown directory it looks up, which is
// harmless once per process but grows the tree, and slows every lookup,
// over millions of requests in one. After each request the guard cuts off
// the nodes dispatch added. The arena they live in is never freed, so they
// are kept listed: memory the program still points at is no leak.
class DirTreeGuard {
 public:
  explicit DirTreeGuard(httpdTable *table);
  void restore();

 private:
  struct Mark {
    httpdDirNode *node;
    httpdDirNode *firstChild;
  };
  std::vector<Mark> marks_;
  std::vector<httpdDirNode *> retired_;
};
