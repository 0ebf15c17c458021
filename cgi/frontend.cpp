#include "cgi/frontend.h"

#include <fastcgi.h>
#include <fcgiapp.h>
#include <signal.h>
#include <sys/socket.h>

#include <cstdio>
#include <cstdlib>

#include "open/client.h"
#include "open/startup.h"

namespace {

// ---- CGI ----

int nextStdinByte(void *) { return getchar_unlocked(); }

Request::Fields cgiFields() {
  return {getenv("REQUEST_METHOD"), getenv("REQUEST_URI"),   getenv("QUERY_STRING"),
          getenv("CONTENT_LENGTH"), getenv("HTTP_SESSION"), getenv("HTTP_REFRESH")};
}

// ---- FastCGI ----

volatile sig_atomic_t stopRequested = 0;
volatile sig_atomic_t answering = 0;

// SIGTERM lets the request in flight finish; between requests it ends the
// wait for the next one, which would otherwise last until a request came.
void requestStop(int) {
  stopRequested = 1;
  FCGX_ShutdownPending();
  if (!answering) shutdown(FCGI_LISTENSOCK_FILENO, SHUT_RDWR);
}

void installStopHandler() {
  struct sigaction action {};
  action.sa_handler = requestStop;
  sigemptyset(&action.sa_mask);
  action.sa_flags = 0;  // no restart: a blocked accept() returns and the loop sees the stop
  sigaction(SIGTERM, &action, nullptr);
}

int nextFcgiByte(void *stream) { return FCGX_GetChar(static_cast<FCGX_Stream *>(stream)); }

Request::Fields fcgiFields(FCGX_ParamArray params) {
  return {FCGX_GetParam("REQUEST_METHOD", params), FCGX_GetParam("REQUEST_URI", params),
          FCGX_GetParam("QUERY_STRING", params),   FCGX_GetParam("CONTENT_LENGTH", params),
          FCGX_GetParam("HTTP_SESSION", params),   FCGX_GetParam("HTTP_REFRESH", params)};
}

// One request, exactly as a CGI process answers it; everything it made
// goes with it.
void serveFastCgiRequest(httpdTable *table, FCGX_Request &fcgi) {
  openapiClientRequestBegins(&clientHandle);
  Request request(fcgiFields(fcgi.envp), nextFcgiByte, fcgi.in);
  Answer answer = httpdProcessRequest(table, request);
  answer.writeTo([&fcgi](const char *text, size_t length) { FCGX_PutStr(text, static_cast<int>(length), fcgi.out); });
}

}  // namespace

bool startedAsFastCgi(void) {
  int listening = 0;
  socklen_t size = sizeof listening;
  return getsockopt(FCGI_LISTENSOCK_FILENO, SOL_SOCKET, SO_ACCEPTCONN, &listening, &size) == 0 && listening != 0;
}

void serveCgiRequest(httpdTable *table) {
  Request request(cgiFields(), nextStdinByte, nullptr);
  httpdProcessRequest(table, request).writeTo([](const char *text, size_t length) {
    fwrite(text, 1, length, stdout);
  });
}

int serveFastCgiRequests(httpdTable *table) {
  if (FCGX_Init() != 0) return -1;
  FCGX_Request fcgi;
  if (FCGX_InitRequest(&fcgi, FCGI_LISTENSOCK_FILENO, FCGI_FAIL_ACCEPT_ON_INTR) != 0) return -1;
  installStopHandler();
  while (!stopRequested && FCGX_Accept_r(&fcgi) >= 0) {
    answering = 1;
    serveFastCgiRequest(table, fcgi);
    FCGX_Finish_r(&fcgi);
    answering = 0;
  }
  FCGX_Free(&fcgi, 1);
  return 0;
}
