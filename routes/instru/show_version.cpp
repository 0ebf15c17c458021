#include "routes/instru/show_version.h"

#include <cstring>

namespace {
constexpr const char kMacLabel[] = "Burned In MAC Address";
}

void macFromShowVersion(const char *output, char (&mac)[32]) {
  memset(mac, 0, sizeof mac);
  const char *at = strstr(output, kMacLabel);
  if (at == nullptr) return;
  at += sizeof kMacLabel - 1;
  at += strspn(at, "\t .:");
  size_t length = strcspn(at, "\t\n\r ");
  if (length > sizeof mac - 1) length = sizeof mac - 1;
  memcpy(mac, at, length);
}
