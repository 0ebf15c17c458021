#include "routes/families.h"

namespace {

using namespace route_groups;

constexpr const route::RouteGroup *kRegistrationOrder[] = {
    &kInstruBhd,  &kInstruBst,       &kInstruFlowTracker, &kInstruIfa,        &kInstruNos,
    &kInstruPacketTrace, &kSflowFirst, &kSnmpAccess,      &kSnmpUsers,        &kSnmpNotifications,
    &kStats,      &kSflowRest,       &kLldpSettings,      &kLldpRemoteDevice, &kLldpLocalDevice,
    &kMirror,     &kSession,
};

}  // namespace

std::span<const route::RouteGroup *const> routeGroups() { return kRegistrationOrder; }

void registerAllRoutes(httpdTable *table) {
  for (const route::RouteGroup *group : kRegistrationOrder) route::addRoutes(table, *group);
}
