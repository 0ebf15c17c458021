#pragma once
// Field tables. A model describes each record of its state once, as a table
// of fields (JSON key, kind of value, where the value lives), and the code
// here dumps, loads and checks the model's part of the state file from it.
// A load stops at the first problem and names it with its path, such as
// "interfaces[3].name: missing", so that a hand-edited file is quick to fix.
//
//   const schema::Record<Receiver> kReceiverFields = {
//       {"owner", &Receiver::owner, schema::Text(127)},
//       {"port", &Receiver::port, schema::Integer(kReceiverPorts)},
//   };
//   {"receivers", &State::receivers, schema::table(kReceiverFields, "receivers")}
//
// Kinds: Integer (ranges), Text (length), Choice (words), Mac, List (of any
// kind; a std::array takes exactly its size, a std::set refuses repeats) and
// Object (a nested record; a list of them is a table, whose rows differ in
// each Unique field and in their Key fields taken together). A new kind is a class with dump(value) and
// load(json, value, where).
#include <cjson/cJSON.h>

#include <algorithm>
#include <array>
#include <concepts>
#include <cstdint>
#include <functional>
#include <map>
#include <initializer_list>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include "open/openapi.h"

namespace schema {

// Where a value sits in the document; loaders report through it.
class Where {
 public:
  Where(std::string path, std::string &error) : path_(std::move(path)), error_(&error) {}
  Where member(const std::string &key) const;
  Where element(size_t index) const;
  // Sets the error to "path: problem" and answers false, for `return where.fail(...)`.
  bool fail(const std::string &problem) const;

 private:
  std::string path_;
  std::string *error_;
};

// A JSON value as compact text, for messages; takes the value.
std::string printed(cJSON *json);
// "a", "a or b", "a, b or c".
std::string alternatives(const std::vector<std::string> &items);

// Integers from `low` to `high`. Declared once per setting, so that the
// operation refusing a value and the state file agree on the range.
struct Range {
  long long low;
  unsigned long long high;

  template <std::integral T>
  constexpr bool contains(T value) const {
    return std::cmp_greater_equal(value, low) && std::cmp_less_equal(value, high);
  }
};

// A number or decimal text, within the type's range.
bool readInteger(const cJSON *json, uint64_t &value);
bool readInteger(const cJSON *json, int32_t &value);
cJSON *decimalText(uint64_t value);

// 64-bit values are written as decimal
// text, since a JSON reader may keep numbers as doubles, exact only to 2^53.
class Integer {
 public:
  Integer(Range range) : ranges_{range} {}
  Integer(std::initializer_list<Range> ranges) : ranges_(ranges) {}

  template <std::integral T>
  cJSON *dump(T value) const {
    static_assert(std::is_unsigned_v<T> || sizeof(T) <= 4, "no reader for signed 64-bit values");
    if constexpr (sizeof(T) == 8) return decimalText(value);
    return cJSON_CreateNumber(static_cast<double>(value));
  }

  template <std::integral T>
  bool load(const cJSON *json, T &value, const Where &where) const {
    static_assert(std::is_unsigned_v<T> || sizeof(T) <= 4, "no reader for signed 64-bit values");
    std::conditional_t<std::is_unsigned_v<T>, uint64_t, int32_t> read = 0;
    if (!readInteger(json, read) || !std::in_range<T>(read) || !accepts(read)) {
      return where.fail(expectation(sizeof(T) == 8));
    }
    value = static_cast<T>(read);
    return true;
  }

 private:
  template <std::integral T>
  bool accepts(T value) const {
    for (const Range &range : ranges_) {
      if (range.contains(value)) return true;
    }
    return false;
  }
  std::string expectation(bool asText) const;

  std::vector<Range> ranges_;
};

class Text {
 public:
  explicit Text(size_t maxLength, size_t minLength = 0) : max_(maxLength), min_(minLength) {}
  cJSON *dump(const std::string &value) const { return cJSON_CreateString(value.c_str()); }
  bool load(const cJSON *json, std::string &value, const Where &where) const;

 private:
  size_t max_, min_;
};

// One word per value, such as "up"/"down" for a bool.
template <typename V>
class Choice {
 public:
  Choice(std::initializer_list<std::pair<const char *, V>> words) : words_(words) {}

  cJSON *dump(const V &value) const {
    for (const auto &[word, meaning] : words_) {
      if (meaning == value) return cJSON_CreateString(word);
    }
    return cJSON_CreateNull();  // a value without a word: the load refuses it, so the gap shows
  }

  bool load(const cJSON *json, V &value, const Where &where) const {
    std::vector<std::string> quoted;
    for (const auto &[word, meaning] : words_) {
      if (cJSON_IsString(json) && word == std::string(json->valuestring)) {
        value = meaning;
        return true;
      }
      quoted.push_back(std::string("\"") + word + "\"");
    }
    return where.fail("expected " + alternatives(quoted));
  }

 private:
  std::vector<std::pair<const char *, V>> words_;
};

using MacAddress = std::array<uint8_t, 6>;
// "00:11:22:5A:3B:C0"
std::string macText(const MacAddress &mac);

struct Mac {
  cJSON *dump(const MacAddress &mac) const { return cJSON_CreateString(macText(mac).c_str()); }
  bool load(const cJSON *json, MacAddress &mac, const Where &where) const;
};

// JSON true or false.
struct Boolean {
  cJSON *dump(bool value) const { return cJSON_CreateBool(value); }
  bool load(const cJSON *json, bool &value, const Where &where) const;
};

// Addresses as text: an address record ("" for none, else IPv4 or IPv6),
// an IPv6 address, or an IPv4 address held as a number in host order.
struct Address {
  cJSON *dump(const open_inet_addr_t &addr) const;
  bool load(const cJSON *json, open_inet_addr_t &addr, const Where &where) const;
};
struct Ipv6 {
  cJSON *dump(const open_in6_addr_t &addr) const;
  bool load(const cJSON *json, open_in6_addr_t &addr, const Where &where) const;
};
struct Ipv4 {
  cJSON *dump(uint32_t hostOrder) const;
  bool load(const cJSON *json, uint32_t &hostOrder, const Where &where) const;
};

// Unique: no two rows of a table share the field's value. Key: the Key
// fields of a record together name its row, such as (port, instance).
enum class Flag { None, Unique, Key };

// One field of a record: its key, its kind and the member that holds it.
// The member may belong to a base of the record, so that a record can lay
// out another's fields as its own.
template <typename R>
struct Field {
  template <typename Owner, typename T, typename Kind>
    requires std::derived_from<R, Owner>
  Field(const char *key, T Owner::*member, Kind kind, Flag flag = Flag::None)
      : key(key),
        flag(flag),
        dump([member, kind](const R &record) { return kind.dump(record.*member); }),
        load([member, kind](const cJSON *json, R &record, const Where &where) {
          return kind.load(json, record.*member, where);
        }) {}

  const char *key;
  Flag flag;
  std::function<cJSON *(const R &)> dump;
  std::function<bool(const cJSON *, R &, const Where &)> load;
};

template <typename R>
using Record = std::vector<Field<R>>;

template <typename R>
cJSON *dumpRecord(const Record<R> &fields, const R &record) {
  cJSON *object = cJSON_CreateObject();
  for (const Field<R> &field : fields) cJSON_AddItemToObject(object, field.key, field.dump(record));
  return object;
}

// Every field is required; members that no field names are ignored.
template <typename R>
bool loadRecord(const Record<R> &fields, const cJSON *json, R &record, const Where &where) {
  if (!cJSON_IsObject(json)) return where.fail("expected an object");
  for (const Field<R> &field : fields) {
    const cJSON *item = cJSON_GetObjectItemCaseSensitive(json, field.key);
    Where at = where.member(field.key);
    if (item == nullptr) return at.fail("missing");
    if (!field.load(item, record, at)) return false;
  }
  return true;
}

// A nested record. `fields` must outlive the kind (tables are static).
template <typename R>
class Object {
 public:
  explicit Object(const Record<R> &fields) : fields_(&fields) {}
  cJSON *dump(const R &record) const { return dumpRecord(*fields_, record); }
  bool load(const cJSON *json, R &record, const Where &where) const {
    return loadRecord(*fields_, json, record, where);
  }

  // The rows of a table, once all are read: no two share a Unique field or their Key.
  template <typename Rows>
  bool checkUnique(const Rows &rows, const Where &where) const {
    for (const Field<R> &field : *fields_) {
      auto valueOf = [&field](const R &row) { return printed(field.dump(row)); };
      if (field.flag == Flag::Unique && !distinct(rows, where, field.key, valueOf)) return false;
    }
    bool keyed = std::ranges::any_of(*fields_, [](const Field<R> &field) { return field.flag == Flag::Key; });
    return !keyed || distinct(rows, where, nullptr, [this](const R &row) { return keyOf(row); });
  }

 private:
  // "port 5, instance 1"
  std::string keyOf(const R &row) const {
    std::string key;
    for (const Field<R> &field : *fields_) {
      if (field.flag != Flag::Key) continue;
      key += (key.empty() ? "" : ", ") + std::string(field.key) + " " + printed(field.dump(row));
    }
    return key;
  }

  // `member` names the field in the message; nullptr names the row.
  template <typename Rows, typename ValueOf>
  static bool distinct(const Rows &rows, const Where &where, const char *member, ValueOf valueOf) {
    std::set<std::string> seen;
    size_t index = 0;
    for (const R &row : rows) {
      std::string value = valueOf(row);
      if (!seen.insert(value).second) {
        Where at = where.element(index);
        return (member != nullptr ? at.member(member) : at).fail(value + " is used twice");
      }
      ++index;
    }
    return true;
  }

  const Record<R> *fields_;
};

// An array of values of one kind. `what` names the elements in messages:
// "expected 65 numbers", "expected an array of VLAN ids".
template <typename Element>
class List {
 public:
  List(Element element, const char *what) : element_(std::move(element)), what_(what) {}

  template <typename Container>
  cJSON *dump(const Container &values) const {
    cJSON *array = cJSON_CreateArray();
    for (const auto &value : values) cJSON_AddItemToArray(array, element_.dump(value));
    return array;
  }

  template <typename T, size_t N>
  bool load(const cJSON *json, std::array<T, N> &values, const Where &where) const {
    if (!cJSON_IsArray(json) || cJSON_GetArraySize(json) != static_cast<int>(N)) {
      return where.fail("expected " + std::to_string(N) + " " + what_);
    }
    size_t index = 0;
    for (const cJSON *item = json->child; item; item = item->next, ++index) {
      if (!element_.load(item, values[index], where.element(index))) return false;
    }
    return checkRows(values, where);
  }

  template <typename T>
  bool load(const cJSON *json, std::vector<T> &values, const Where &where) const {
    if (!cJSON_IsArray(json)) return where.fail("expected an array of " + what_);
    values.clear();
    size_t index = 0;
    for (const cJSON *item = json->child; item; item = item->next, ++index) {
      T value{};
      if (!element_.load(item, value, where.element(index))) return false;
      values.push_back(std::move(value));
    }
    return checkRows(values, where);
  }

  template <typename T>
  bool load(const cJSON *json, std::set<T> &values, const Where &where) const {
    if (!cJSON_IsArray(json)) return where.fail("expected an array of " + what_);
    values.clear();
    size_t index = 0;
    for (const cJSON *item = json->child; item; item = item->next, ++index) {
      T value{};
      Where at = where.element(index);
      if (!element_.load(item, value, at)) return false;
      if (!values.insert(value).second) return at.fail(printed(element_.dump(value)) + " is listed twice");
    }
    return true;
  }

 private:
  template <typename Rows>
  bool checkRows(const Rows &rows, const Where &where) const {
    if constexpr (requires { element_.checkUnique(rows, where); }) {
      return element_.checkUnique(rows, where);
    } else {
      return true;
    }
  }

  Element element_;
  std::string what_;
};

// A table: an array of records of one kind.
template <typename R>
List<Object<R>> table(const Record<R> &fields, const char *what) {
  return List<Object<R>>(Object<R>(fields), what);
}

// Part of a row: one named value, or the fields of a record laid out as the row's own.
template <typename T>
struct RowPart {
  std::function<void(cJSON *row, const T &value)> put;
  std::function<bool(const cJSON *row, T &value, const Where &where)> get;
};

template <typename T, typename Kind>
RowPart<T> named(const char *key, Kind kind) {
  return {[key, kind](cJSON *row, const T &value) { cJSON_AddItemToObject(row, key, kind.dump(value)); },
          [key, kind](const cJSON *row, T &value, const Where &where) {
            const cJSON *item = cJSON_GetObjectItemCaseSensitive(row, key);
            Where at = where.member(key);
            return item != nullptr ? kind.load(item, value, at) : at.fail("missing");
          }};
}

template <typename T>
RowPart<T> fieldsOf(const Record<T> &fields) {
  return {[&fields](cJSON *row, const T &value) {
            for (const Field<T> &field : fields) cJSON_AddItemToObject(row, field.key, field.dump(value));
          },
          [&fields](const cJSON *row, T &value, const Where &where) { return loadRecord(fields, row, value, where); }};
}

// A std::map as an array of rows, each holding its key's part and its
// value's part; no two rows may have the same key.
template <typename K, typename V>
class Keyed {
 public:
  Keyed(RowPart<K> key, RowPart<V> value, const char *what)
      : key_(std::move(key)), value_(std::move(value)), what_(what) {}

  cJSON *dump(const std::map<K, V> &entries) const {
    cJSON *array = cJSON_CreateArray();
    for (const auto &[key, value] : entries) {
      cJSON *row = cJSON_CreateObject();
      key_.put(row, key);
      value_.put(row, value);
      cJSON_AddItemToArray(array, row);
    }
    return array;
  }

  bool load(const cJSON *json, std::map<K, V> &entries, const Where &where) const {
    if (!cJSON_IsArray(json)) return where.fail("expected an array of " + what_);
    entries.clear();
    size_t index = 0;
    for (const cJSON *row = json->child; row; row = row->next, ++index) {
      Where at = where.element(index);
      K key{};
      V value{};
      if (!cJSON_IsObject(row)) return at.fail("expected an object");
      if (!key_.get(row, key, at) || !value_.get(row, value, at)) return false;
      if (!entries.emplace(std::move(key), std::move(value)).second) return at.fail("the same entry is listed twice");
    }
    return true;
  }

 private:
  RowPart<K> key_;
  RowPart<V> value_;
  std::string what_;
};

}  // namespace schema
