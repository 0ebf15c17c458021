#pragma once
#include "cgi/httpd.h"

// A session idle for longer than this (seconds of system uptime) has expired.
constexpr long kIdleLimitSeconds = 7200;

// 0 when the caller's session may run `route`, -1 otherwise.
int checkSessionX(const char *sessionId, const char *refresh, const httpdRouteEntry *route);

// Where the session check reads the system uptime in seconds: returns 0 and
// stores it, or -1. Points at the system's own clock; tests may redirect it.
typedef int (*sessionUptimeFn)(long *uptime);
extern sessionUptimeFn sessionUptimeSource;
int sessionSystemUptime(long *uptime);
