#include "open/opdesc.h"

#include <cstring>
#include <string_view>
#include <type_traits>

namespace {

constexpr OpenKind kindOf_INT = OpenKind::Int;
constexpr OpenKind kindOf_TEXT = OpenKind::Text;
constexpr OpenKind kindOf_WORDS = OpenKind::Words;
constexpr OpenKind kindOf_BYTES = OpenKind::Bytes;
constexpr OpenKind kindOf_ADDR = OpenKind::Addr;
constexpr OpenKind kindOf_IN6 = OpenKind::In6;

#define OPEN_FIELD_DESC(T, n, ...) \
  {OPEN_TYPE_##T, #n, static_cast<uint32_t>(offsetof(ctype_, n)), OPEN_MEMBER_LENGTH(__VA_ARGS__)},
#define OPEN_RECORD(tag, ctype, ...)                                                  \
  struct tag##_fields {                                                               \
    using ctype_ = ctype;                                                             \
    static constexpr OpenField list[] = {OPEN_FOR_EACH(OPEN_FIELD_DESC, __VA_ARGS__)}; \
  };
#include "open/open_records.def"
#undef OPEN_RECORD
#undef OPEN_FIELD_DESC

const OpenTypeInfo kTypes[OPEN_TYPE_COUNT] = {
#define OPEN_TYPE(tag, ctype, kind) \
  {#tag, kindOf_##kind, sizeof(ctype), std::is_signed_v<ctype>, nullptr, 0},
#include "open/open_types.def"
#undef OPEN_TYPE
#define OPEN_RECORD(tag, ctype, ...)                                 \
  {#tag, OpenKind::Record, sizeof(ctype), false, tag##_fields::list, \
   static_cast<uint8_t>(sizeof(tag##_fields::list) / sizeof(OpenField))},
#include "open/open_records.def"
#undef OPEN_RECORD
};

#define OPEN_ARG_DESC(d, T, n) {OpenDir::OPEN_DIR_##d, OPEN_TYPE_##T, #n},
#define OPEN_DIR_IN In
#define OPEN_DIR_OUT Out
#define OPEN_DIR_INOUT InOut
#define OPEN_OP(kind, name, ...) \
  const OpenArgDesc args_##name[] = {OPEN_FOR_EACH(OPEN_ARG_DESC, __VA_ARGS__){OpenDir::In, OPEN_TYPE_U32, nullptr}};
#include "open/open_ops.def"
#undef OPEN_OP

// FNV-1a, 32 bits.
constexpr uint32_t hashText(std::string_view text, uint32_t hash = 2166136261u) {
  for (char c : text) hash = (hash ^ static_cast<uint8_t>(c)) * 16777619u;
  return hash;
}

// Every type and record as declared; any change to them changes every
// operation's signature.
constexpr uint32_t kTypesSignature = hashText(
#define OPEN_TYPE(tag, ctype, kind) #tag " " #ctype " " #kind ";"
#include "open/open_types.def"
#undef OPEN_TYPE
#define OPEN_RECORD(tag, ctype, ...) #tag " " #ctype " " #__VA_ARGS__ ";"
#include "open/open_records.def"
#undef OPEN_RECORD
);

}  // namespace

#define OPEN_OP(kind, name, ...)                                              \
  {#name, static_cast<uint8_t>(OPEN_NARGS(__VA_ARGS__)), args_##name,        \
   hashText(#kind " " #name " " #__VA_ARGS__, kTypesSignature)},
const OpenOpDesc kOpenOps[OPEN_OP_COUNT] = {
#include "open/open_ops.def"
};
#undef OPEN_OP

const OpenTypeInfo &openTypeInfo(OpenType type) { return kTypes[type]; }

const OpenOpDesc *openOpFind(const char *name) {
  for (const OpenOpDesc &op : kOpenOps) {
    if (strcmp(op.name, name) == 0) return &op;
  }
  return nullptr;
}
