#include "routes/engine/engine.h"

#include <strings.h>

#include <cstdlib>
#include <cstring>

#include "cgi/response.h"
#include "log/log.h"
#include "routes/engine/values.h"
#include "routes/engine/address.h"

namespace route {

namespace {

const cJSON *bodyMember(Inputs &in, const Bind &bind) {
  const cJSON *holder = in.body();
  if (bind.object != nullptr) holder = cJSON_GetObjectItem(holder, bind.object);
  return cJSON_IsObject(holder) ? cJSON_GetObjectItem(holder, bind.key) : nullptr;
}

int32_t readQueryNumber(const Bind &bind, Inputs &in, Slot &slot) {
  slot.num = in.number(bind);
  return bind.required && slot.num == 0 ? RC_INVALID_ARGUMENT : RC_SUCCESS;
}

int32_t readQuery(const Bind &bind, Inputs &in, Slot &slot) {
  if (bind.value == Value::Number) return readQueryNumber(bind, in, slot);
  const char *text = in.text(bind);
  if (bind.required && text == nullptr) return RC_INVALID_ARGUMENT;
  switch (bind.value) {
    case Value::Text: return fillText(bind, text, slot);
    case Value::Choice: slot.num = static_cast<uint64_t>(choiceValue(*bind.choices, text)); break;
    case Value::Address: addressFromText(text, &slot.addr); break;
    case Value::Number:
    case Value::Object:
    case Value::List: break;
  }
  return RC_SUCCESS;
}

int32_t readBody(const Bind &bind, Inputs &in, Slot &slot) {
  const cJSON *item = bodyMember(in, bind);
  bool fits = bind.value == Value::Number ? cJSON_IsNumber(item) : cJSON_IsString(item);
  if (bind.required && !fits) return RC_INVALID_ARGUMENT;
  const char *text = fits && bind.value != Value::Number ? item->valuestring : nullptr;
  switch (bind.value) {
    case Value::Number: slot.num = fits ? jsonNumberToU32(item) : 0; break;
    case Value::Text: return fillText(bind, text, slot);
    case Value::Choice: slot.num = static_cast<uint64_t>(choiceValue(*bind.choices, text)); break;
    case Value::Address: addressFromText(text, &slot.addr); break;
    case Value::Object:
    case Value::List: break;
  }
  return RC_SUCCESS;
}

int32_t readBodyOrQuery(const Bind &bind, Inputs &in, Slot &slot) {
  const cJSON *item = bodyMember(in, bind);
  slot.num = cJSON_IsNumber(item) ? jsonNumberToU32(item) : 0;
  if (slot.num != 0) return RC_SUCCESS;
  return readQueryNumber(bind, in, slot);
}

int32_t readInput(const Bind &bind, Inputs &in, Slot &slot) {
  switch (bind.from) {
    case From::Query: return readQuery(bind, in, slot);
    case From::Body: return readBody(bind, in, slot);
    case From::BodyOrQuery: return readBodyOrQuery(bind, in, slot);
    case From::Constant:
      if (bind.value == Value::Text) return fillText(bind, bind.key, slot);
      slot.num = static_cast<uint64_t>(bind.preset);
      return RC_SUCCESS;
    case From::Custom: return bind.read(bind, in, slot);
    case From::Nothing: return RC_SUCCESS;
  }
  return RC_SUCCESS;
}

bool needsBody(const Call &call, size_t count) {
  for (size_t i = 0; i < count; ++i) {
    if (call.binds[i].from == From::Body || call.binds[i].from == From::BodyOrQuery) return true;
  }
  return false;
}

// The value an integer argument of `bytes` receives.
uint64_t narrowed(uint64_t value, uint8_t bytes) {
  return bytes > 0 && bytes < sizeof value ? value & ((uint64_t{1} << (8 * bytes)) - 1) : value;
}

// Interface numbers and the like that must be there before anything else is
// read; a number that reaches OpEN as 0 (4294967296 for 32 bits) is absent.
int32_t readRequiredQueries(const Call &call, size_t count, Inputs &in, Slot *slots) {
  for (size_t i = 0; i < count; ++i) {
    const Bind &bind = call.binds[i];
    if (bind.from != From::Query || !bind.required) continue;
    int32_t code = readQuery(bind, in, slots[i]);
    if (code == RC_SUCCESS && bind.value == Value::Number && narrowed(slots[i].num, call.open.params[i].intBytes) == 0) {
      code = RC_INVALID_ARGUMENT;
    }
    if (code != RC_SUCCESS) return code;
  }
  return RC_SUCCESS;
}

int32_t readInputs(const Call &call, size_t count, Inputs &in, Slot *slots) {
  int32_t code = readRequiredQueries(call, count, in, slots);
  if (code == RC_SUCCESS && needsBody(call, count) && in.body() == nullptr) code = RC_INVALID_ARGUMENT;
  for (size_t i = 0; i < count && code == RC_SUCCESS; ++i) {
    const Bind &bind = call.binds[i];
    if (!bind.isInput()) slots[i].num = static_cast<uint64_t>(bind.preset);
    if (bind.kind == ArgKind::Buffer && !bind.isInput()) prepareOutputBuffer(bind, slots[i]);
    if (bind.isInput() && !(bind.from == From::Query && bind.required)) code = readInput(bind, in, slots[i]);
  }
  return code;
}

// What the outputs show when a family answers a failed read with its defaults.
void resetOutputs(const Call &call, size_t count, Slot *slots) {
  for (size_t i = 0; i < count; ++i) {
    const Bind &bind = call.binds[i];
    if (!bind.isOutput()) continue;
    slots[i].num = static_cast<uint64_t>(bind.preset);
    slots[i].addr = open_inet_addr_t{};
    if (slots[i].record) memset(slots[i].record.get(), 0, slots[i].recordSize);
    if (slots[i].storage) memset(slots[i].storage.get(), 0, slots[i].capacity + 1);
  }
}

bool hasOutputs(const Call &call) {
  for (size_t i = 0; i < bindCount(call); ++i) {
    if (call.binds[i].isOutput()) return true;
  }
  return false;
}

int32_t mapped(Mapping mapping, int rc) {
  switch (mapping) {
    case Mapping::OpenRc: return openRcToResultCode(rc);
    case Mapping::AnyFailure: return rc == 0 ? RC_SUCCESS : RC_GENERAL_FAILED;
    case Mapping::ShowDefaults: return RC_SUCCESS;
    case Mapping::Unsupported: return RC_UNSUPPORTED_FEATURE;
  }
  return RC_GENERAL_FAILED;
}

int runCall(const Call &call, Inputs &in, cJSON *data, int32_t *refusal, bool showDefaults) {
  size_t count = bindCount(call);
  Slot slots[kMaxBinds];
  int32_t code = readInputs(call, count, in, slots);
  if (code != RC_SUCCESS) {
    if (refusal != nullptr) *refusal = code;
    return OPEN_E_PARAM;
  }
  int rc = call.open.invoke(slots);
  if (rc != OPEN_E_NONE && !showDefaults) return rc;
  if (rc != OPEN_E_NONE) resetOutputs(call, count, slots);
  for (size_t i = 0; i < count; ++i) {
    if (call.binds[i].isOutput()) showValue(data, call.binds[i], slots[i], slots);
  }
  return rc;
}

// A route of one OpEN call.
Answer runRoute(const Route &route, Inputs &in) {
  const Answering &answering = *route.answering;
  const Family &family = *answering.family;
  JsonPtr data(cJSON_CreateObject());
  int32_t refusal = RC_SUCCESS;
  int rc = runCall(route.call, in, data.get(), &refusal, answering.mapping == Mapping::ShowDefaults);
  if (refusal != RC_SUCCESS) return answerOf(family, refusal, nullptr, answering.refused);
  int32_t code = mapped(answering.mapping, rc);
  const cJSON *shown = code == RC_SUCCESS && hasOutputs(route.call) ? data.get() : nullptr;
  return answerOf(family, code, shown, code == RC_SUCCESS ? answering.succeeded : answering.failed);
}

// The declared query inputs of a custom route that refuse the request when
// absent, 0 (in the width its code reads them) or out of their range.
int32_t refusalOfCustom(const Call &declared, Inputs &in) {
  for (size_t i = 0; i < bindCount(declared); ++i) {
    const Bind &bind = declared.binds[i];
    if (bind.from != From::Query || !bind.required) continue;
    if (bind.value != Value::Number) {
      if (in.text(bind) == nullptr) return RC_INVALID_ARGUMENT;
      continue;
    }
    uint64_t value = narrowed(in.number(bind), bind.intBytes);
    if (value == 0 || (bind.ranged && (value < bind.low || value > bind.high))) return RC_INVALID_ARGUMENT;
  }
  return RC_SUCCESS;
}

bool declaresOutputs(const Call &declared) { return hasOutputs(declared); }

// A route of its own function: it answers its code, with the data it wrote
// when the code is 0 and the route declares an answer.
Answer runCustom(const Route &route, Inputs &in) {
  const Answering &answering = *route.answering;
  const Family &family = *answering.family;
  int32_t refusal = refusalOfCustom(route.call, in);
  if (refusal != RC_SUCCESS) return answerOf(family, refusal, nullptr, answering.refused);
  JsonPtr data(cJSON_CreateObject());
  Output out(data.get());
  int32_t code = route.custom(in, out);
  const cJSON *shown = code == RC_SUCCESS && declaresOutputs(route.call) && !out.omitted() ? data.get() : nullptr;
  return answerOf(family, code, shown, code == RC_SUCCESS ? answering.succeeded : answering.failed);
}

}  // namespace

int runCallInto(const Call &call, Inputs &in, Output &out, int32_t *refusal) {
  return runCall(call, in, out.json(), refusal, false);
}

Answer serveRoute(const Route &route, Request &request) {
  const Answering &answering = *route.answering;
  const Family &family = *answering.family;
  if (request.bodyTooLarge()) {
    LOG_ERROR("body of %zu bytes refused, the most a request may send is %zu\n", request.announcedLength(),
              kMaxBodyBytes);
    return answerOf(family, RC_INVALID_ARGUMENT, nullptr, answering.refused);
  }
  if (answering.mapping == Mapping::Unsupported) {
    return answerOf(family, RC_UNSUPPORTED_FEATURE, nullptr, answering.failed);
  }
  Inputs in(request, family.reader != nullptr ? *family.reader : kQueryStringUnsigned);
  return isCustom(route) ? runCustom(route, in) : runRoute(route, in);
}

void addRoutes(httpdTable *table, const RouteGroup &group) {
  httpdDirNode *node = httpdFindOrCreateDir(table, group.dir);
  for (size_t i = 0; i < group.count; ++i) {
    // A failed registration is logged; that route is simply absent.
    (void)httpdAddEntry(node, group.rows[i].op, group.rows[i].method, 1, group.handlers[i]);
  }
}

}  // namespace route
