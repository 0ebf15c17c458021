#pragma once
// What our OpEN client offers beyond OpEN's own interface, for a process
// that answers many requests over one registration (the FastCGI mode). A
// switch build with the platform's client library gives these their
// equivalent there.
#include "open/openapi.h"

// Called as each request begins: a call of an earlier request that ran out
// of time no longer fails this request's calls at once. (A connection that
// the server has closed meanwhile, as when it restarted, is opened again by
// the first call that finds it closed.)
void openapiClientRequestBegins(openapiClientHandle_t *client);
