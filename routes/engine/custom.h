#pragma once
// What a route that is more than one OpEN call works with: its declared
// inputs, read the way their bindings say, and its answer's data, written
// through the parts it declares. The bindings are the ones the route's
// declaration lists, so that the names, types and words a route reads and
// writes are the ones the API description gives.
#include <cjson/cJSON.h>

#include <cstddef>
#include <cstdint>

#include "routes/engine/bind.h"

namespace route {

// An object of the request body, read member by member as its bindings say:
// the member named by the binding's key (in any case), only when it has the
// binding's JSON type (a number for numbers, a string for texts, choices and
// addresses, an object or an array for objects and lists).
class BodyObject {
 public:
  explicit BodyObject(const cJSON *object) : object_(cJSON_IsObject(object) ? object : nullptr) {}

  bool given() const { return object_ != nullptr; }
  bool has(const Bind &member) const { return typed(member) != nullptr; }
  // The member is there but JSON null.
  bool isNull(const Bind &member) const;
  // The member is there but of another type than its binding's.
  bool mistyped(const Bind &member) const;

  // A number as an unsigned 32-bit value (decimal text too where the member
  // allows it, read as strtoul does); 0 when absent.
  uint32_t number(const Bind &member) const;
  // The choice's value; its table's default when absent.
  int64_t choice(const Bind &member) const;
  // The text; NULL when absent.
  const char *text(const Bind &member) const;
  BodyObject object(const Bind &member) const { return BodyObject(typed(member)); }

  // The elements of a list member; 0 when it is not a list.
  size_t count(const Bind &list) const;
  // Each element of a list of objects, at most `limit` of them; an element
  // that is no object reads as an absent one.
  template <typename Visit>
  void forEachObject(const Bind &list, size_t limit, Visit visit) const {
    size_t seen = 0;
    for (const cJSON *element = firstElement(list); element != nullptr && seen < limit; element = element->next) {
      ++seen;
      visit(BodyObject(element));
    }
  }
  // The numbers of a list of numbers, as unsigned 32-bit values; other
  // elements are passed over.
  template <typename Visit>
  void forEachNumber(const Bind &list, size_t limit, Visit visit) const {
    size_t seen = 0;
    for (const cJSON *element = firstElement(list); element != nullptr && seen < limit; element = element->next) {
      ++seen;
      if (cJSON_IsNumber(element)) visit(numberOf(element));
    }
  }

 private:
  const cJSON *member(const Bind &member) const;
  const cJSON *typed(const Bind &member) const;
  const cJSON *firstElement(const Bind &list) const;
  static uint32_t numberOf(const cJSON *item);

  const cJSON *object_;
};

// The data of an answer, or an object inside it, written through declared
// parts: each value under its part's key, shown as its part says.
class Output {
 public:
  explicit Output(cJSON *object) : object_(object) {}

  void number(const Bind &part, double value);
  void choice(const Bind &part, int64_t value);
  void text(const Bind &part, const char *text);
  void address(const Bind &part, const open_inet_addr_t &addr);
  void null(const Bind &part);
  Output object(const Bind &part);
  class List list(const Bind &part);

  // The answer carries no data at all, as when OpEN has nothing to show.
  void omit() { omitted_ = true; }
  bool omitted() const { return omitted_; }
  cJSON *json() { return object_; }

 private:
  void add(const Bind &part, cJSON *value);

  cJSON *object_;
  bool omitted_ = false;
};

// A list of the answer: objects of its parts, or values of its one unnamed part.
class List {
 public:
  explicit List(cJSON *array) : array_(array) {}
  Output addObject();
  void addNumber(double value);

 private:
  cJSON *array_;
};

}  // namespace route
