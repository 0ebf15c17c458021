#pragma once
// The route engine: a route is one row of its family's table, naming the
// OpEN function it calls and one binding per argument of that function.
// The engine reads the bindings' inputs, makes the call, maps the result
// and answers with the outputs, as the family's answering rules say.
#include <array>
#include <cstddef>
#include <initializer_list>
#include <utility>

#include "cgi/answer.h"
#include "cgi/httpd.h"
#include "routes/engine/bind.h"
#include "routes/engine/inputs.h"
#include "routes/engine/invoke.h"

namespace route {

struct Family {
  const char *dir;
  const char *dataKey;
  const QueryReader *reader;  // how query keys are read unless a binding says otherwise
  const char *about = nullptr;  // what the family's routes are for, in a sentence
};

// How an OpEN result becomes a result code: mapped, any failure as 10000,
// or never a failure (the answer then shows the outputs' starting values).
// A route of a feature this switch lacks makes no call and answers 17002.
enum class Mapping : uint8_t { OpenRc, AnyFailure, ShowDefaults, Unsupported };

// How a family answers one kind of route: the mapping, and how each outcome
// is written (refused before any OpEN call, OpEN failed, success).
struct Answering {
  const Family *family;
  Mapping mapping;
  AnswerStyle refused, failed, succeeded;
};

constexpr size_t kMaxBinds = 12;

// One OpEN call with its bindings, in the function's argument order.
struct Call {
  OpenCall open;
  Bind binds[kMaxBinds];
};

// A route that is not one call: it reads its declared inputs from `in`,
// writes its declared outputs to `out` and returns its result code. The
// engine has refused the request already when a declared query input that
// is needed is absent, 0 or out of its range; it answers the code with the
// data when the code is 0, as the route's family answers.
using CustomFn = int32_t (*)(Inputs &in, Output &out);

// A route is one row: its operation, its method, how it answers, and the
// OpEN call with one binding per argument. A route that is not one call is
// a function (`custom`); its bindings then declare, for the API description,
// what it reads and what its answer holds, in the same form.
// Result codes a route answers beside those its family's mapping gives.
struct ResultCodes {
  static constexpr size_t kMax = 8;
  int32_t codes[kMax] = {};
  uint8_t count = 0;
};

struct Route {
  const char *op;
  int method;
  const Answering *answering;
  Call call;
  const char *summary = nullptr;  // what the route does, in a line
  CustomFn custom = nullptr;
  // A custom route: every code it answers but refusals of its declared
  // inputs; a row: the codes its bindings' own readers refuse with.
  ResultCodes codes{};

  constexpr Route answers(std::initializer_list<int32_t> list) const {
    Route route = *this;
    for (int32_t code : list) {
      if (route.codes.count < ResultCodes::kMax) route.codes.codes[route.codes.count++] = code;
    }
    return route;
  }
};

constexpr Route custom(const char *op, int method, CustomFn handler, const Answering &answering,
                       const char *summary, std::initializer_list<Bind> declared) {
  Route route{op, method, &answering, {}, summary, handler};
  size_t at = 0;
  for (const Bind &bind : declared) route.call.binds[at++] = bind;
  return route;
}

// A feature this switch lacks: no call, always 17002.
constexpr Route unsupported(const char *op, int method, const Answering &answering, const char *summary = nullptr) {
  return {op, method, &answering, {}, summary};
}

constexpr bool isCustom(const Route &route) { return route.custom != nullptr; }

constexpr size_t bindCount(const Call &call) {
  size_t n = 0;
  while (n < kMaxBinds && !call.binds[n].isEnd()) ++n;
  return n;
}

constexpr bool describesOnly(const Bind &bind) {
  return bind.show == Show::Object || bind.show == Show::List || bind.show == Show::Mac ||
         bind.value == Value::Object || bind.value == Value::List;
}

constexpr bool bindFits(const Bind &bind, const ArgTag &param) {
  if (bind.kind != param.kind) return false;
  if (param.kind == ArgKind::RecordPointer && bind.recordType != param.recordType) return false;
  if (bind.kind == ArgKind::Buffer && bind.buffer == nullptr) return false;
  if (describesOnly(bind)) return false;
  return bind.isInput() || bind.isOutput();
}

constexpr bool callFits(const Call &call) {
  if (call.open.invoke == nullptr) return bindCount(call) == 0;
  if (bindCount(call) != call.open.paramCount) return false;
  for (size_t i = 0; i < call.open.paramCount; ++i) {
    if (!bindFits(call.binds[i], call.open.params[i])) return false;
  }
  return true;
}

// Answers one request of a route: what the request may not ask, the call
// or the route's own function, the answer.
Answer serveRoute(const Route &route, Request &request);

// Runs the call with inputs from `in` and writes its outputs to `out`.
// The OpEN result; nothing is written unless it is 0. `refusal`, when given,
// receives a result code for inputs that refuse the call (then no call is made).
int runCallInto(const Call &call, Inputs &in, Output &out, int32_t *refusal = nullptr);

// The envelope of a route's family, written as `style` says.
inline Answer answerOf(const Family &family, int32_t code, const cJSON *data, AnswerStyle style) {
  return Answer::envelope(code, family.dataKey, data, style);
}

// One handler per row, named by its table and index (a compiler may not take
// a row itself as a template argument).
template <const auto &Table, size_t I>
Answer routeHandler(Request &request) {
  static_assert(isCustom(Table[I]) || callFits(Table[I].call),
                "a binding of this route does not fit the OpEN function it calls");
  return serveRoute(Table[I], request);
}

template <const auto &Table, size_t I>
constexpr httpdHandler handlerOf() {
  return &routeHandler<Table, I>;
}

template <const auto &Table, size_t... I>
constexpr std::array<httpdHandler, sizeof...(I)> handlersOf(std::index_sequence<I...>) {
  return {handlerOf<Table, I>()...};
}

template <const auto &Table>
inline constexpr auto kHandlersOf = handlersOf<Table>(std::make_index_sequence<std::size(Table)>{});

// Rows [first, first + count) of a family's table under one directory, with
// their handlers: what main registers, the API description describes and
// the route checks walk.
struct RouteGroup {
  const char *dir;
  const Route *rows;
  const httpdHandler *handlers;
  size_t count;
};

template <const auto &Table>
constexpr RouteGroup routeGroup(const char *dir, size_t first = 0, size_t end = std::size(Table)) {
  return {dir, Table + first, kHandlersOf<Table>.data() + first, end - first};
}

// Registers a group's rows in table order.
void addRoutes(httpdTable *table, const RouteGroup &group);

}  // namespace route
