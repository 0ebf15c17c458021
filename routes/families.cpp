#include "routes/families.h"

namespace {

using namespace route_groups;

constexpr const route::RouteGroup *kRegistrationOrder[] = {
    &kInstruBhd,  &kInstruBst,       &kInstruFlowTracker, &kInstruIfa,        &kInstruNos,
    &kInstruPacketTrace, &kSflowFirst, &kSnmpAccess,      &kSnmpUsers,        &kSnmpNotifications,
    &kStats,      &kSflowRest,       &kLldpSettings,      &kLldpRemoteDevice, &kLldpLocalDevice,
    &kMirror,     &kSession,
};

constexpr const route::RouteGroup *kReadingOrder[] = {
    &kStats,     &kLldpSettings, &kLldpRemoteDevice, &kLldpLocalDevice, &kSnmpAccess, &kSnmpUsers,
    &kSnmpNotifications, &kSflowFirst, &kSflowRest, &kMirror, &kSession, &kInstruNos,
    &kInstruBhd, &kInstruBst, &kInstruFlowTracker, &kInstruIfa, &kInstruPacketTrace,
};
static_assert(std::size(kReadingOrder) == std::size(kRegistrationOrder));

}  // namespace

std::span<const route::RouteGroup *const> routeGroups() { return kRegistrationOrder; }

std::span<const route::RouteGroup *const> routeGroupsForReaders() { return kReadingOrder; }

void registerAllRoutes(httpdTable *table) {
  for (const route::RouteGroup *group : kRegistrationOrder) route::addRoutes(table, *group);
}
