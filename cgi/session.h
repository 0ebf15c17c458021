#pragma once
#include "cgi/httpd.h"

// 0 when the caller's session may run `route`, -1 otherwise.
int checkSessionX(const char *sessionId, const char *refresh, const httpdRouteEntry *route);
