#pragma once
// What our OpEN client offers beyond OpEN's own interface, for a process
// that answers many requests over one registration (the FastCGI mode). A
// switch build with the platform's client library gives these their
// equivalent there.
#include "open/openapi.h"

// Called as each request begins. A call of an earlier request that ran out
// of time no longer fails this request's calls at once, and a connection
// that the server has closed meanwhile (it restarted) is dropped, so that
// the next call opens a new one instead of failing on the old.
void openapiClientRequestBegins(openapiClientHandle_t *client);
