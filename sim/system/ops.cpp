// The switch's own operations: connectivity, versions, interfaces, VLANs
// and the command line.
#include <cctype>
#include <cstdio>
#include <string>

#include "sim/device.h"
#include "sim/sim_ops.h"

namespace {

using Interface = SimSwitch::Interface;

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
open_error_t interfaceAttribute(SimDevice &dev, uint32_t intIfNum, uint32_t *out, Get get) {
  const Interface *intf = dev.system().findInterface(intIfNum);
  if (intf == nullptr || out == nullptr) return OPEN_E_PARAM;
  *out = get(*intf);
  return OPEN_E_NONE;
}

}  // namespace

namespace sim {

open_error_t openapiConnectivityCheck(SimDevice &) { return OPEN_E_NONE; }

open_error_t openapiNetworkOSVersionGet(SimDevice &dev, open_buffdesc *version) {
  return putText(version, dev.system().identity().softwareVersion);
}

open_error_t openapiApiVersionGet(SimDevice &dev, open_revision_data_t *version) {
  const auto &v = dev.system().identity().apiVersion;
  *version = {v[0], v[1], v[2], v[3]};
  return OPEN_E_NONE;
}

open_error_t openapiIfFirstGet(SimDevice &dev, uint32_t intfType, uint32_t *intIfNum) {
  return dev.system().firstInterface(intfType, intIfNum);
}

open_error_t openapiIfNextGet(SimDevice &dev, uint32_t intfType, uint32_t intIfNum, uint32_t *nextIntIfNum) {
  return dev.system().nextInterface(intfType, intIfNum, nextIntIfNum);
}

open_error_t openapiIfNameGet(SimDevice &dev, uint32_t intIfNum, open_buffdesc *name) {
  const Interface *intf = dev.system().findInterface(intIfNum);
  return intf == nullptr ? OPEN_E_PARAM : putText(name, intf->name);
}

open_error_t openapiIfTypeGet(SimDevice &dev, uint32_t intIfNum, uint32_t *intfType) {
  return interfaceAttribute(dev, intIfNum, intfType, [](const Interface &i) { return i.type; });
}

open_error_t openapiIfLinkStateGet(SimDevice &dev, uint32_t intIfNum, uint32_t *linkState) {
  return interfaceAttribute(dev, intIfNum, linkState,
                            [](const Interface &i) { return i.passesTraffic() ? kLinkUp : kLinkDown; });
}

open_error_t openapiIfSpeedGet(SimDevice &dev, uint32_t intIfNum, uint32_t *speed) {
  return interfaceAttribute(dev, intIfNum, speed, SimSwitch::speedCodeOf);
}

open_error_t openapiIfAdminStateGet(SimDevice &dev, uint32_t intIfNum, uint32_t *adminState) {
  return interfaceAttribute(dev, intIfNum, adminState,
                            [](const Interface &i) { return i.adminEnabled ? kAdminEnable : kAdminDisable; });
}

open_error_t openapiIfMaxFrameSizeGet(SimDevice &dev, uint32_t intIfNum, uint32_t *maxFrameSize) {
  return interfaceAttribute(dev, intIfNum, maxFrameSize, [](const Interface &i) { return i.maxFrameSize; });
}

open_error_t openapiVlanIfPvidGet(SimDevice &dev, uint32_t intIfNum, uint32_t *vlanId) {
  return interfaceAttribute(dev, intIfNum, vlanId, [](const Interface &i) { return i.pvid; });
}

open_error_t openapiVlanCreatedCheck(SimDevice &dev, uint32_t vlanId) { return dev.system().vlanCreated(vlanId); }

open_error_t openapiCliShowExecuteToFile(SimDevice &dev, open_buffdesc *command, open_buffdesc *fileName) {
  std::string text = normalisedCommand(inputText(command));
  std::string path = inputText(fileName);
  if (text.empty() || path.empty()) return OPEN_E_PARAM;
  if (text != "show version") return OPEN_E_UNAVAIL;
  return writeFile(path, dev.system().showVersionText());
}

}  // namespace sim
