// The simulated switch's answers to the OpEN operations.
#include "sim/sim_ops.h"
#include "sim/sim_text.h"

#include <cctype>
#include <cinttypes>
#include <cstdio>
#include <cstring>
#include <string>

#include "sim/switch.h"

namespace {

// The command line accepts any case and any run of blanks between words.
std::string normalisedCommand(const std::string &text) {
  std::string command;
  bool blank = false;
  for (char c : text) {
    if (isspace(static_cast<unsigned char>(c))) {
      blank = !command.empty();
      continue;
    }
    if (blank) command += ' ';
    blank = false;
    command += static_cast<char>(tolower(static_cast<unsigned char>(c)));
  }
  return command;
}

open_error_t writeFile(const std::string &path, const std::string &text) {
  FILE *file = fopen(path.c_str(), "w");
  if (file == nullptr) return OPEN_E_FAIL;
  bool written = fwrite(text.data(), 1, text.size(), file) == text.size();
  bool closed = fclose(file) == 0;
  return written && closed ? OPEN_E_NONE : OPEN_E_FAIL;
}

// Looks up an interface for the attribute queries.
template <typename Get>
open_error_t interfaceAttribute(SimSwitch &sw, uint32_t intIfNum, uint32_t *out, Get get) {
  const SimSwitch::Interface *intf = sw.findInterface(intIfNum);
  if (intf == nullptr || out == nullptr) return OPEN_E_PARAM;
  *out = get(*intf);
  return OPEN_E_NONE;
}

}  // namespace

namespace sim {

open_error_t openapiConnectivityCheck(SimSwitch &) { return OPEN_E_NONE; }

open_error_t openapiNetworkOSVersionGet(SimSwitch &sw, open_buffdesc *version) {
  return putText(version, sw.identity().softwareVersion);
}

open_error_t openapiApiVersionGet(SimSwitch &sw, open_revision_data_t *version) {
  *version = sw.identity().apiVersion;
  return OPEN_E_NONE;
}

open_error_t openapiIfFirstGet(SimSwitch &sw, uint32_t intfType, uint32_t *intIfNum) {
  return sw.firstInterface(intfType, intIfNum);
}

open_error_t openapiIfNextGet(SimSwitch &sw, uint32_t intfType, uint32_t intIfNum, uint32_t *nextIntIfNum) {
  return sw.nextInterface(intfType, intIfNum, nextIntIfNum);
}

open_error_t openapiIfNameGet(SimSwitch &sw, uint32_t intIfNum, open_buffdesc *name) {
  const SimSwitch::Interface *intf = sw.findInterface(intIfNum);
  return intf == nullptr ? OPEN_E_PARAM : putText(name, intf->name);
}

open_error_t openapiIfTypeGet(SimSwitch &sw, uint32_t intIfNum, uint32_t *intfType) {
  return interfaceAttribute(sw, intIfNum, intfType, [](const SimSwitch::Interface &i) { return i.type; });
}

open_error_t openapiIfLinkStateGet(SimSwitch &sw, uint32_t intIfNum, uint32_t *linkState) {
  return interfaceAttribute(sw, intIfNum, linkState, [](const SimSwitch::Interface &i) {
    return i.linkUp && i.adminEnabled ? kLinkUp : kLinkDown;
  });
}

open_error_t openapiIfSpeedGet(SimSwitch &sw, uint32_t intIfNum, uint32_t *speed) {
  return interfaceAttribute(sw, intIfNum, speed, SimSwitch::speedCodeOf);
}

open_error_t openapiIfAdminStateGet(SimSwitch &sw, uint32_t intIfNum, uint32_t *adminState) {
  return interfaceAttribute(sw, intIfNum, adminState, [](const SimSwitch::Interface &i) {
    return i.adminEnabled ? kAdminEnable : kAdminDisable;
  });
}

open_error_t openapiIfMaxFrameSizeGet(SimSwitch &sw, uint32_t intIfNum, uint32_t *maxFrameSize) {
  return interfaceAttribute(sw, intIfNum, maxFrameSize, [](const SimSwitch::Interface &i) { return i.maxFrameSize; });
}

open_error_t openapiVlanIfPvidGet(SimSwitch &sw, uint32_t intIfNum, uint32_t *vlanId) {
  return interfaceAttribute(sw, intIfNum, vlanId, [](const SimSwitch::Interface &i) { return i.pvid; });
}

open_error_t openapiVlanCreatedCheck(SimSwitch &sw, uint32_t vlanId) { return sw.vlanCreated(vlanId); }

open_error_t openapiCliShowExecuteToFile(SimSwitch &sw, open_buffdesc *command, open_buffdesc *fileName) {
  std::string text = normalisedCommand(inputText(command));
  std::string path = inputText(fileName);
  if (text.empty() || path.empty()) return OPEN_E_PARAM;
  if (text != "show version") return OPEN_E_UNAVAIL;
  return writeFile(path, sw.showVersionText());
}

open_error_t openapiStatGet(SimSwitch &sw, uint32_t counterId, uint32_t intIfNum, uint64_t *value) {
  return sw.counterValue(counterId, intIfNum, value);
}

open_error_t openapiStatStringGet(SimSwitch &sw, uint32_t counterId, uint32_t intIfNum, open_buffdesc *value) {
  uint64_t number = 0;
  open_error_t rc = sw.counterValue(counterId, intIfNum, &number);
  if (rc != OPEN_E_NONE) return rc;
  char text[24];
  snprintf(text, sizeof text, "%" PRIu64, number);
  return putText(value, text);
}

open_error_t openapiStatReset(SimSwitch &sw, uint32_t counterId, uint32_t intIfNum) {
  return sw.resetCounter(counterId, intIfNum);
}

open_error_t openapiInterfaceStatsBufSizeGet(SimSwitch &, uint32_t *bufSize) {
  *bufSize = static_cast<uint32_t>(sizeof(uint64_t) * (1 + kCounterCount));
  return OPEN_E_NONE;
}

open_error_t openapiInterfaceStatsGet(SimSwitch &sw, uint32_t intIfNum, open_buffdesc *counters) {
  std::array<uint64_t, kCounterCount> values{};
  open_error_t rc = sw.allCounters(intIfNum, values);
  if (rc != OPEN_E_NONE) return rc;
  const uint64_t count = kCounterCount;
  size_t needed = sizeof count + sizeof values;
  if (counters == nullptr || counters->pstart == nullptr || counters->size < needed) return OPEN_E_PARAM;
  memcpy(counters->pstart, &count, sizeof count);
  memcpy(counters->pstart + sizeof count, values.data(), sizeof values);
  counters->size = static_cast<uint32_t>(needed);
  return OPEN_E_NONE;
}

open_error_t openapiInterfaceStatsReset(SimSwitch &sw, uint32_t intIfNum) {
  return sw.resetInterfaceCounters(intIfNum);
}

open_error_t openapiResetAllInterfacesStats(SimSwitch &sw) {
  sw.resetAllCounters();
  return OPEN_E_NONE;
}

open_error_t openapiInterfaceStatsResetTimeGet(SimSwitch &sw, uint32_t intIfNum, uint32_t *seconds) {
  return sw.secondsSinceReset(intIfNum, seconds);
}

}  // namespace sim
