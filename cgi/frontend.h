#pragma once
// The two ways the web server runs the program: once per request (CGI), or
// as a FastCGI application that answers requests one after another for as
// long as it runs. Both read each request into a Request, dispatch it and
// write its Answer, so that both answer every request with the same bytes.
#include "cgi/httpd.h"

// Whether the web server started the program as a FastCGI application: its
// standard input is then a socket listening for the server's connections.
bool startedAsFastCgi(void);

// The one request of a CGI process, from its environment and standard input.
void serveCgiRequest(httpdTable *table);

// Requests until the process is told to stop (SIGTERM: the request in
// flight is finished first). 0, or -1 when the FastCGI library cannot start.
int serveFastCgiRequests(httpdTable *table);
