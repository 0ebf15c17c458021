// The switch state as a JSON document, for dumps, saves and loads.
// 64-bit counters travel as decimal text so that they stay exact.
#include <algorithm>
#include <cinttypes>
#include <cstdio>
#include <cstring>

#include "open/wire.h"
#include "sim/switch.h"

namespace {

constexpr int64_t kNanosPerSecond = 1000000000;
constexpr size_t kMaxText = 255;

struct TextField {
  const char *key;
  std::string SimSwitch::Identity::*field;
};
const TextField kTextFields[] = {
    {"systemDescription", &SimSwitch::Identity::systemDescription},
    {"machineType", &SimSwitch::Identity::machineType},
    {"machineModel", &SimSwitch::Identity::machineModel},
    {"serialNumber", &SimSwitch::Identity::serialNumber},
    {"softwareVersion", &SimSwitch::Identity::softwareVersion},
};

cJSON *u64Text(uint64_t value) {
  char text[24];
  snprintf(text, sizeof text, "%" PRIu64, value);
  return cJSON_CreateString(text);
}

cJSON *apiVersionJson(const open_revision_data_t &v) {
  cJSON *array = cJSON_CreateArray();
  for (uint32_t part : {v.release, v.version, v.maint_level, v.build_num}) {
    cJSON_AddItemToArray(array, cJSON_CreateNumber(part));
  }
  return array;
}

cJSON *vlansJson(const std::set<uint32_t> &vlans) {
  cJSON *array = cJSON_CreateArray();
  for (uint32_t vid : vlans) cJSON_AddItemToArray(array, cJSON_CreateNumber(vid));
  return array;
}

// Reads members of one object and names the first problem with its path.
class Reader {
 public:
  Reader(const cJSON *object, std::string path, std::string &error)
      : object_(object), path_(std::move(path)), error_(error) {}

  bool isObject() { return cJSON_IsObject(object_) || fail("", "expected an object"); }

  const cJSON *member(const char *key) {
    const cJSON *item = cJSON_GetObjectItemCaseSensitive(object_, key);
    if (item == nullptr) fail(key, "missing");
    return item;
  }

  bool text(const char *key, std::string &out) {
    const cJSON *item = member(key);
    if (item == nullptr) return false;
    if (!cJSON_IsString(item) || strlen(item->valuestring) > kMaxText) {
      return fail(key, "expected a text of at most 255 characters");
    }
    out = item->valuestring;
    return true;
  }

  bool number(const char *key, uint32_t low, uint32_t high, uint32_t &out) {
    const cJSON *item = member(key);
    if (item == nullptr) return false;
    uint32_t value = 0;
    if (wireDecodeInt(OPEN_TYPE_U32, item, &value) != 0 || value < low || value > high) {
      return fail(key, "expected an integer from " + std::to_string(low) + " to " + std::to_string(high));
    }
    out = value;
    return true;
  }

  // One of two words: true for the first.
  bool choice(const char *key, const char *yes, const char *no, bool &out) {
    const cJSON *item = member(key);
    if (item == nullptr) return false;
    bool isYes = cJSON_IsString(item) && strcmp(item->valuestring, yes) == 0;
    bool isNo = cJSON_IsString(item) && strcmp(item->valuestring, no) == 0;
    if (!isYes && !isNo) return fail(key, std::string("expected \"") + yes + "\" or \"" + no + "\"");
    out = isYes;
    return true;
  }

  bool fail(const std::string &key, const std::string &problem) {
    error_ = where(key) + ": " + problem;
    return false;
  }

  std::string where(const std::string &key) const {
    if (key.empty()) return path_.empty() ? "state" : path_;
    return path_.empty() ? key : path_ + "." + key;
  }

 private:
  const cJSON *object_;
  std::string path_;
  std::string &error_;
};

bool readMac(Reader &in, std::array<uint8_t, 6> &mac) {
  std::string text;
  if (!in.text("baseMac", text)) return false;
  unsigned b[6];
  char tail = 0;
  if (text.size() != 17 || sscanf(text.c_str(), "%2x:%2x:%2x:%2x:%2x:%2x%c", &b[0], &b[1], &b[2], &b[3], &b[4],
                                  &b[5], &tail) != 6) {
    return in.fail("baseMac", "expected a MAC address like 00:11:22:5A:3B:C0");
  }
  for (int i = 0; i < 6; ++i) mac[i] = static_cast<uint8_t>(b[i]);
  return true;
}

bool readApiVersion(Reader &in, open_revision_data_t &v) {
  const cJSON *array = in.member("apiVersion");
  if (array == nullptr) return false;
  uint32_t parts[4];
  bool ok = cJSON_IsArray(array) && cJSON_GetArraySize(array) == 4;
  for (int i = 0; ok && i < 4; ++i) ok = wireDecodeInt(OPEN_TYPE_U32, cJSON_GetArrayItem(array, i), &parts[i]) == 0;
  if (!ok) return in.fail("apiVersion", "expected 4 integers (release, version, maintenance level, build)");
  v = {parts[0], parts[1], parts[2], parts[3]};
  return true;
}

bool readIdentity(Reader &in, SimSwitch::Identity &id) {
  for (const TextField &text : kTextFields) {
    if (!in.text(text.key, id.*text.field)) return false;
  }
  return readMac(in, id.baseMac) && readApiVersion(in, id.apiVersion);
}

bool readVlans(Reader &in, std::set<uint32_t> &vlans, std::string &error) {
  const cJSON *array = in.member("vlans");
  if (array == nullptr) return false;
  if (!cJSON_IsArray(array)) return in.fail("vlans", "expected an array of VLAN ids");
  int index = 0;
  for (const cJSON *item = array->child; item; item = item->next, ++index) {
    uint32_t vid = 0;
    std::string path = "vlans[" + std::to_string(index) + "]";
    if (wireDecodeInt(OPEN_TYPE_U32, item, &vid) != 0 || vid < 1 || vid > 4094) {
      error = path + ": expected a VLAN id from 1 to 4094";
      return false;
    }
    if (!vlans.insert(vid).second) {
      error = path + ": VLAN " + std::to_string(vid) + " is listed twice";
      return false;
    }
  }
  return true;
}

bool readSpeed(Reader &in, uint32_t &mbps) {
  uint32_t value = 0;
  if (!in.number("speed", 0, UINT32_MAX, value)) return false;
  if (value != 0 && value != 10 && value != 100 && value != 1000 && value != 10000) {
    return in.fail("speed", "expected 0, 10, 100, 1000 or 10000 (Mbit/s)");
  }
  mbps = value;
  return true;
}

bool readCounters(Reader &in, SimSwitch::PortCounters &counters, int64_t at) {
  bool busy = false;
  uint32_t seconds = 0;
  if (!in.choice("load", "busy", "idle", busy) || !in.number("secondsSinceReset", 0, UINT32_MAX, seconds)) {
    return false;
  }
  const cJSON *array = in.member("counters");
  if (array == nullptr) return false;
  if (!cJSON_IsArray(array) || cJSON_GetArraySize(array) != static_cast<int>(kCounterCount)) {
    return in.fail("counters", "expected " + std::to_string(kCounterCount) + " numbers");
  }
  uint32_t id = 0;
  for (const cJSON *item = array->child; item; item = item->next, ++id) {
    if (wireDecodeInt(OPEN_TYPE_U64, item, &counters.base[id]) != 0) {
      return in.fail("counters[" + std::to_string(id) + "]",
                     "expected an unsigned 64-bit integer (as decimal text above 2^53)");
    }
  }
  counters.base[ctr_reserved] = 0;
  counters.load = busy ? PortLoad::Busy : PortLoad::Idle;
  counters.anchor.fill(at);
  counters.resetAt = at - static_cast<int64_t>(seconds) * kNanosPerSecond;
  return true;
}

bool readInterface(const cJSON *item, const std::string &path, SimSwitch::Interface &intf, int64_t at,
                   std::string &error) {
  Reader in(item, path, error);
  if (!in.isObject() || !in.number("intIfNum", 1, UINT32_MAX, intf.intIfNum) ||
      !in.number("type", 0, kIntfAny - 1, intf.type) || !in.text("name", intf.name)) {
    return false;
  }
  if (intf.name.empty()) return in.fail("name", "expected a non-empty name");
  if (!in.choice("link", "up", "down", intf.linkUp) || !in.choice("admin", "enable", "disable", intf.adminEnabled) ||
      !readSpeed(in, intf.speedMbps) || !in.number("maxFrameSize", 64, 16383, intf.maxFrameSize) ||
      !in.number("pvid", 1, 4094, intf.pvid)) {
    return false;
  }
  return intf.type != kIntfPhysical || readCounters(in, intf.counters, at);
}

bool readInterfaces(Reader &in, std::vector<SimSwitch::Interface> &interfaces, int64_t at, std::string &error) {
  const cJSON *array = in.member("interfaces");
  if (array == nullptr) return false;
  if (!cJSON_IsArray(array)) return in.fail("interfaces", "expected an array of interfaces");
  std::set<uint32_t> numbers;
  std::set<std::string> names;
  int index = 0;
  for (const cJSON *item = array->child; item; item = item->next, ++index) {
    std::string path = "interfaces[" + std::to_string(index) + "]";
    SimSwitch::Interface intf;
    if (!readInterface(item, path, intf, at, error)) return false;
    if (!numbers.insert(intf.intIfNum).second) {
      error = path + ".intIfNum: " + std::to_string(intf.intIfNum) + " is used twice";
      return false;
    }
    if (!names.insert(intf.name).second) {
      error = path + ".name: \"" + intf.name + "\" is used twice";
      return false;
    }
    interfaces.push_back(std::move(intf));
  }
  std::sort(interfaces.begin(), interfaces.end(),
            [](const SimSwitch::Interface &a, const SimSwitch::Interface &b) { return a.intIfNum < b.intIfNum; });
  return true;
}

}  // namespace

cJSON *SimSwitch::interfaceJson(const Interface &intf, int64_t at) const {
  cJSON *json = cJSON_CreateObject();
  cJSON_AddNumberToObject(json, "intIfNum", intf.intIfNum);
  cJSON_AddNumberToObject(json, "type", intf.type);
  cJSON_AddStringToObject(json, "name", intf.name.c_str());
  cJSON_AddStringToObject(json, "link", intf.linkUp ? "up" : "down");
  cJSON_AddStringToObject(json, "admin", intf.adminEnabled ? "enable" : "disable");
  cJSON_AddNumberToObject(json, "speed", intf.speedMbps);
  cJSON_AddNumberToObject(json, "maxFrameSize", intf.maxFrameSize);
  cJSON_AddNumberToObject(json, "pvid", intf.pvid);
  if (intf.type != kIntfPhysical) return json;
  cJSON_AddStringToObject(json, "load", intf.counters.load == PortLoad::Busy ? "busy" : "idle");
  cJSON_AddNumberToObject(json, "secondsSinceReset",
                          static_cast<double>(std::max<int64_t>(0, at - intf.counters.resetAt) / kNanosPerSecond));
  cJSON *counters = cJSON_AddArrayToObject(json, "counters");
  for (uint32_t id = 0; id < kCounterCount; ++id) {
    cJSON_AddItemToArray(counters, u64Text(id == ctr_reserved ? 0 : currentValue(intf, id, at)));
  }
  return json;
}

cJSON *SimSwitch::toJson() const {
  const Identity &id = state_.identity;
  int64_t at = now();
  cJSON *json = cJSON_CreateObject();
  for (const TextField &text : kTextFields) cJSON_AddStringToObject(json, text.key, (id.*text.field).c_str());
  cJSON_AddStringToObject(json, "baseMac", baseMacText().c_str());
  cJSON_AddItemToObject(json, "apiVersion", apiVersionJson(id.apiVersion));
  cJSON_AddItemToObject(json, "vlans", vlansJson(state_.vlans));
  cJSON *interfaces = cJSON_AddArrayToObject(json, "interfaces");
  for (const Interface &intf : state_.interfaces) cJSON_AddItemToArray(interfaces, interfaceJson(intf, at));
  return json;
}

int SimSwitch::fromJson(const cJSON *json, std::string &error) {
  State next;
  Reader in(json, "", error);
  int64_t at = now();
  if (!in.isObject() || !readIdentity(in, next.identity) || !readVlans(in, next.vlans, error) ||
      !readInterfaces(in, next.interfaces, at, error)) {
    return -1;
  }
  state_ = std::move(next);
  return 0;
}
