#pragma once
#include <span>

#include "cgi/httpd.h"
#include "routes/engine/engine.h"

// Every group of routes, defined beside its family's table.
namespace route_groups {
extern const route::RouteGroup kInstruBhd, kInstruBst, kInstruFlowTracker, kInstruIfa, kInstruNos,
    kInstruPacketTrace;
extern const route::RouteGroup kSflowFirst, kSflowRest;
extern const route::RouteGroup kSnmpAccess, kSnmpUsers, kSnmpNotifications;
extern const route::RouteGroup kStats;
extern const route::RouteGroup kLldpSettings, kLldpRemoteDevice, kLldpLocalDevice;
extern const route::RouteGroup kMirror, kSession;
}  // namespace route_groups

// The groups in the order main registers them: instrumentation, sFlow
// (first part), SNMP, statistics, sFlow (rest), LLDP, mirror and session.
// Later registrations of the same route win, so the order is part of what
// the program answers.
std::span<const route::RouteGroup *const> routeGroups();

// The same groups in the order a reader of the API looks for them: the
// families this switch has first, the chip's instrumentation, which it
// mostly lacks, last.
std::span<const route::RouteGroup *const> routeGroupsForReaders();

// Registers every group in the registration order.
void registerAllRoutes(httpdTable *table);
