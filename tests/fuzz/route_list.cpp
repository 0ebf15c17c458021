#include "tests/fuzz/route_list.h"

#include <algorithm>
#include <tuple>

namespace {

void collectRoutes(const httpdDirNode *dir, const std::string &path, std::vector<RouteRef> &routes) {
  for (const httpdRouteEntry *entry = dir->operations; entry != nullptr; entry = entry->next) {
    routes.push_back({path + "/" + entry->opName, entry->method});
  }
  for (const httpdDirNode *child = dir->children; child != nullptr; child = child->next) {
    collectRoutes(child, path + "/" + child->name, routes);
  }
}

void markTree(httpdDirNode *dir, std::vector<httpdDirNode *> &nodes) {
  nodes.push_back(dir);
  for (httpdDirNode *child = dir->children; child != nullptr; child = child->next) markTree(child, nodes);
}

}  // namespace

std::vector<RouteRef> listRoutes(const httpdTable *table) {
  std::vector<RouteRef> routes;
  if (table != nullptr && table->root != nullptr) collectRoutes(table->root, "", routes);
  std::sort(routes.begin(), routes.end(), [](const RouteRef &a, const RouteRef &b) {
    return std::tie(a.path, a.method) < std::tie(b.path, b.method);
  });
  return routes;
}

DirTreeGuard::DirTreeGuard(httpdTable *table) {
  std::vector<httpdDirNode *> nodes;
  markTree(table->root, nodes);
  for (httpdDirNode *node : nodes) marks_.push_back({node, node->children});
}

// New nodes only ever go in at the head of a children list.
void DirTreeGuard::restore() {
  for (Mark &mark : marks_) {
    for (httpdDirNode *added = mark.node->children; added != mark.firstChild; added = added->next) {
      retired_.push_back(added);
    }
    mark.node->children = mark.firstChild;
  }
}
