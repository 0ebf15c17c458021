#include "cgi/response.h"

#include <charconv>
#include <cstdlib>
#include <cstring>
#include <utility>

#include "log/log.h"
#include "open/raii.h"

namespace {

// Shared with the rest of the web interface. Searched from the top; the
// irregular order (10027 before 10003, 13103 before 13101) is kept as it is.
constexpr CodeMessage kCodeMessages[] = {
    {0, "Success"},
    {999, "unknown fail"},
    {10000, "General Failed"},
    {10001, "system error"},
    {10002, "Invalid Pointer"},
    {10027, "Disable PTP Mode"},
    {10003, "Invalid argument"},
    {10004, "Not implemented"},
    {10005, "Out of memory"},
    {10006, "Buffer error"},
    {10007, "Permission denied"},
    {10008, "Timed out"},
    {10009, "Object not init"},
    {10010, "Object init failed"},
    {10011, "Object exist"},
    {10012, "Object not exist"},
    {10015, "Device or resource empty"},
    {10016, "Device or resource open failed"},
    {10017, "Device or resource read failed"},
    {10018, "Device or resource write failed"},
    {10019, "Device or resource delete failed"},
    {10020, "Network is unreachable"},
    {10021, "Illegal request"},
    {10022, "Invalid weibo user"},
    {10023, "Request api not found"},
    {10024, "HTTP method is not suported for this request"},
    {10025, "Upload file error"},
    {10026, "upgrade file error"},
    {12001, "User name or password is incorrect"},
    {12002, "Change default password"},
    {12003, "User lockout when login fail more than 5 time, please try again in 5 minutes"},
    {13103, "Add Interface IP error"},
    {13101, "Create Vlan error"},
    {14101, "This Template is being used by a Network Profile. Please delete the associated Network Profile first"},
    {14102, "Profile type was duplicated"},
    {14103, "The AVB profile template should be only configured on one vlan"},
    {14104, "Unable to set 802.1AS Status with Enable,PTP TC is enable. Disable PTP TC to enable 802.1AS Status"},
    {14105, "Unable to set PTP TC with Enable,802.1AS Status is enable. Disable 802.1AS Status to enable PTP TC"},
    {14106, "The Shure profile template should be only configured on one vlan"},
    {14107, "The profile name is already in use. Please enter a different name."},
    {14108, "The current device does not support this profile"},
    {14109, "The SMPTE profile template should be only configured on one vlan"},
    {15001, "Setting LAG Name is failed. Please check if it is a duplicate name"},
    {16001, "The maximum of 100 Time Ranges is already configured"},
    {17001, "The configuration is invalid"},
    {18001, "IP Address/Netmask entered conflicts with the configured IP Address/Netmask of a router interface"},
    {20001, "Invalid physical mode for this port."},
    {11000, ""},
    {17002, "Unsupported Feature"},
    {17003, "PTP Boundary Clock API is not supported on this model"},
    {26001, "Kernel upgrade required, please upload ONIE file"},
    {-200, "Maximum user accounts reached"},
    {-201, "Invalid user name, does not meet policy"},
    {-202, "Invalid password, does not meet policy"},
    {-203, "Invalid user type"},
    {-204, "Invalid user, user does not exist"},
    {-205, "User account already exist"},
    {-206, "Should not modify user type of admin account"},
    {-207, "Request failed, not a privileged user"},
    {-208, "Can not create/delete admin account"},
    {-300, "Failed to set configuration on the device"},
    {-301, "Failed to get configuration from the device"},
    {-302, "Invalid REST API request"},
    {-7, "Failed to allocate memory"},
};


// OpEN results -29 .. 0, indexed by result + 29.
constexpr int32_t kOpenRcCodes[] = {
    RC_API_NOT_FOUND,        // -29
    RC_UNSUPPORTED_FEATURE,  // -28
    RC_GENERAL_FAILED,       // -27
    RC_GENERAL_FAILED,       // -26
    RC_GENERAL_FAILED,       // -25
    RC_OBJECT_EXIST,         // -24
    RC_GENERAL_FAILED,       // -23
    RC_INVALID_ARGUMENT,     // -22
    RC_GENERAL_FAILED, RC_GENERAL_FAILED, RC_GENERAL_FAILED, RC_GENERAL_FAILED, RC_GENERAL_FAILED,
    RC_GENERAL_FAILED, RC_GENERAL_FAILED, RC_GENERAL_FAILED, RC_GENERAL_FAILED, RC_GENERAL_FAILED,
    RC_GENERAL_FAILED, RC_GENERAL_FAILED, RC_GENERAL_FAILED, RC_GENERAL_FAILED, RC_GENERAL_FAILED,
    RC_GENERAL_FAILED, RC_GENERAL_FAILED, RC_GENERAL_FAILED, RC_GENERAL_FAILED, RC_GENERAL_FAILED,
    RC_GENERAL_FAILED,  // -21 .. -1
    RC_SUCCESS,         // 0
};
static_assert(sizeof kOpenRcCodes / sizeof kOpenRcCodes[0] == 1 - kLowestOpenRc);

enum class Envelope { Built, NoRoot, NoResp, BadData };

JsonPtr buildResp(int32_t code) {
  JsonPtr resp(cJSON_CreateObject());
  if (!resp || cJSON_AddNumberToObject(resp.get(), "respCode", code) == nullptr ||
      cJSON_AddStringToObject(resp.get(), "respMsg", resultCodeMessage(code)) == nullptr ||
      cJSON_AddStringToObject(resp.get(), "status", code == RC_SUCCESS ? "success" : "fail") == nullptr) {
    return nullptr;
  }
  return resp;
}

// Takes ownership of `item` whether or not the member can be added.
bool addOwned(cJSON *object, const char *key, JsonPtr item) {
  if (!cJSON_AddItemToObject(object, key, item.get())) {
    return false;
  }
  (void)item.release();
  return true;
}

// The data member, when there is one, goes in before "resp". The data is
// referred to, not taken: the caller keeps it.
Envelope buildEnvelope(int32_t code, const char *dataKey, const cJSON *data, JsonPtr *out) {
  JsonPtr root(cJSON_CreateObject());
  if (!root) {
    return Envelope::NoRoot;
  }
  JsonPtr resp = buildResp(code);
  if (!resp) {
    return Envelope::NoResp;
  }
  if (code == RC_SUCCESS && dataKey != nullptr && data != nullptr &&
      !cJSON_AddItemReferenceToObject(root.get(), dataKey, const_cast<cJSON *>(data))) {
    return Envelope::NoRoot;
  }
  if (!addOwned(root.get(), "resp", std::move(resp))) {
    return Envelope::NoResp;
  }
  *out = std::move(root);
  return Envelope::Built;
}

// The envelope around data given as text: the text is parsed into the tree
// it stands for.
Envelope buildEnvelope(int32_t code, const char *dataKey, const char *dataText, JsonPtr *data, JsonPtr *out) {
  if (code == RC_SUCCESS && dataKey != nullptr && dataText != nullptr) {
    data->reset(cJSON_ParseWithOpts(dataText, nullptr, 1));
    if (!*data) {
      return Envelope::BadData;
    }
  }
  return buildEnvelope(code, dataKey, data->get(), out);
}

// Both builders of answers log under the name of the one the web interface
// has always had.
#define ANSWER_ERROR(text) logWrite(LOG_LEVEL_ERROR, "[%s:%d] " text, "responseJsonRreallocStr", __LINE__)

int printEnvelope(Envelope built, const cJSON *root, char **answer) {
  switch (built) {
    case Envelope::NoRoot:
      ANSWER_ERROR("[MEM] Failed to create root object\n");
      return RC_GENERAL_FAILED;
    case Envelope::NoResp:
      ANSWER_ERROR("[MEM] Failed to create resp object\n");
      return RC_GENERAL_FAILED;
    case Envelope::BadData:
      ANSWER_ERROR("[MEM] Failed to parse data JSON\n");
      return RC_GENERAL_FAILED;
    case Envelope::Built:
      break;
  }
  char *text = cJSON_Print(root);
  if (text == nullptr) {
    ANSWER_ERROR("[MEM] Failed to print JSON\n");
    return RC_GENERAL_FAILED;
  }
  free(*answer);
  *answer = text;
  return RC_SUCCESS;
}

// The envelope exactly as cJSON_Print prints it, put together around the
// data's own print: building the envelope's tree and printing it whole
// would print the result code's number through sprintf and sscanf, half of
// what a small answer costs. A member one level down prints as it does
// alone with a tab after each of its newlines (no text holds a raw
// newline: strings print them escaped). The data key and the messages of
// the table are plain words that JSON writes as they are.
class EnvelopeText {
 public:
  bool add(const char *text, size_t length) {
    if (!reserve(length)) return false;
    memcpy(text_.get() + length_, text, length);
    length_ += length;
    text_.get()[length_] = '\0';
    return true;
  }
  bool add(const char *text) { return add(text, strlen(text)); }
  bool addIndented(const char *text) {
    for (const char *line = text;;) {
      const char *newline = strchr(line, '\n');
      if (newline == nullptr) return add(line);
      if (!add(line, static_cast<size_t>(newline - line)) || !add("\n\t", 2)) return false;
      line = newline + 1;
    }
  }
  bool addNumber(int32_t number) {
    char digits[16];
    auto printed = std::to_chars(digits, digits + sizeof digits, number);
    return add(digits, static_cast<size_t>(printed.ptr - digits));
  }
  // One allocation for the whole answer in the common case.
  bool reserve(size_t more) {
    if (length_ + more < capacity_) return true;
    size_t grown = (length_ + more + 1) * 2;
    auto *bigger = static_cast<char *>(realloc(text_.get(), grown));
    if (bigger == nullptr) return false;
    (void)text_.release();
    text_.reset(bigger);
    capacity_ = grown;
    return true;
  }
  char *release() { return ok_ ? text_.release() : nullptr; }
  void fail() { ok_ = false; }

 private:

  CText text_;
  size_t length_ = 0, capacity_ = 0;
  bool ok_ = true;
};

char *composeEnvelope(int32_t code, const char *dataKey, const char *printedData) {
  constexpr size_t kEnvelopeBytes = 224;  // all but the data, the longest message included
  EnvelopeText text;
  size_t dataBytes = 0;
  if (dataKey != nullptr) {
    // A tab more a line, and a printed line is seldom shorter than four bytes.
    size_t printed = strlen(printedData);
    dataBytes = strlen(dataKey) + printed + printed / 4;
  }
  bool written = text.reserve(dataBytes + kEnvelopeBytes) && text.add("{\n");
  if (dataKey != nullptr) {
    written = written && text.add("\t\"") && text.add(dataKey) && text.add("\":\t") && text.addIndented(printedData) &&
              text.add(",\n");
  }
  written = written && text.add("\t\"resp\":\t{\n\t\t\"respCode\":\t") && text.addNumber(code) &&
            text.add(",\n\t\t\"respMsg\":\t\"") && text.add(resultCodeMessage(code)) &&
            text.add("\",\n\t\t\"status\":\t\"") && text.add(code == RC_SUCCESS ? "success" : "fail") &&
            text.add("\"\n\t}\n}");
  if (!written) text.fail();
  return text.release();
}

CText printedForLog(const cJSON *json) { return CText(json != nullptr ? cJSON_PrintUnformatted(json) : nullptr); }

}  // namespace

std::span<const CodeMessage> resultCodeTable() { return kCodeMessages; }

const char *resultCodeMessage(int32_t code) {
  for (const CodeMessage &entry : kCodeMessages) {
    if (entry.code == code) {
      return entry.message;
    }
  }
  return "Error code unknown";
}

int32_t openRcToResultCode(int openRc) {
  if (openRc < kLowestOpenRc || openRc > 0) {
    return RC_GENERAL_FAILED;
  }
  return kOpenRcCodes[openRc - kLowestOpenRc];
}

int responseJsonRreallocStr(int32_t code, const char *dataKey, const char *dataText, char **answer) {
  if (answer == nullptr) {
    return RC_GENERAL_FAILED;
  }
  JsonPtr data, root;
  Envelope built = buildEnvelope(code, dataKey, dataText, &data, &root);
  return printEnvelope(built, root.get(), answer);
}

int responseJsonTreeStr(int32_t code, const char *dataKey, const cJSON *data, char **answer) {
  if (answer == nullptr) {
    return RC_GENERAL_FAILED;
  }
  bool withData = code == RC_SUCCESS && dataKey != nullptr && data != nullptr;
  CText printedData(withData ? cJSON_Print(data) : nullptr);
  if (withData && !printedData) {
    ANSWER_ERROR("[MEM] Failed to print JSON\n");
    return RC_GENERAL_FAILED;
  }
  CText text(composeEnvelope(code, withData ? dataKey : nullptr, printedData.get()));
  if (!text) {
    ANSWER_ERROR("[MEM] Failed to create root object\n");
    return RC_GENERAL_FAILED;
  }
  free(*answer);
  *answer = text.release();
  return RC_SUCCESS;
}

int responseJsonStr(int32_t code, const char *dataKey, const char *dataText, char *buffer) {
  JsonPtr data, root;
  if (buffer == nullptr || buildEnvelope(code, dataKey, dataText, &data, &root) != Envelope::Built) {
    return -1;
  }
  CText text(cJSON_Print(root.get()));
  if (!text) {
    LOG_ERROR("package response str error\r\n");
    return -1;
  }
  memcpy(buffer, text.get(), strlen(text.get()));
  return 0;
}

int responseJsonToStr(const cJSON *json, char **text) {
  char *printed = json != nullptr ? cJSON_Print(json) : nullptr;
  if (text != nullptr) {
    *text = printed;
  }
  if (printed == nullptr || text == nullptr) {
    free(printed);
    LOG_ERROR("Response error\r\n");
    return RC_GENERAL_FAILED;
  }
  return RC_SUCCESS;
}

int getStrAndCpyTo(const cJSON *json, const char *key, char *dst, size_t len) {
  const cJSON *item = cJSON_GetObjectItem(json, key);
  if (!cJSON_IsString(item) || dst == nullptr) {
    CText printed = printedForLog(json);
    LOG_ERROR("%s param error :%s\r\n", key != nullptr ? key : "", LogExcerpt(printed ? printed.get() : "").text());
    return RC_INVALID_ARGUMENT;
  }
  strncpy(dst, item->valuestring, len);
  return RC_SUCCESS;
}

int getIntAndCpyTo(const cJSON *json, const char *key, uint32_t *value) {
  const cJSON *item = cJSON_GetObjectItem(json, key);
  if (!cJSON_IsNumber(item) || value == nullptr) {
    CText printed = printedForLog(json);
    LOG_ERROR("%s param error :%s\r\n", key != nullptr ? key : "", LogExcerpt(printed ? printed.get() : "").text());
    return RC_INVALID_ARGUMENT;
  }
  *value = jsonNumberToU32(item);
  return RC_SUCCESS;
}

uint32_t jsonNumberToU32(const cJSON *number) {
  // cJSON's int view stops at INT_MAX, which would cut the upper half of the
  // unsigned range.
  double value = number->valuedouble;
  if (value >= 0) return value < static_cast<double>(UINT32_MAX) ? static_cast<uint32_t>(value) : UINT32_MAX;
  return static_cast<uint32_t>(number->valueint);
}
