#pragma once
// The OpEN programming interface as this program uses it: types, result codes
// and one prototype per operation, all generated from open_ops.def.
// The program depends on OpEN only through this header.
#include <stdint.h>

#include "open/open_macros.h"

#ifdef __cplusplus
extern "C" {
#endif

// A fixed underlying type: every 32-bit result that crosses the wire is a
// valid value, including those this list does not name.
#ifdef __cplusplus
typedef enum : int32_t {
#else
typedef enum {
#endif
  OPEN_E_NONE = 0,
  OPEN_E_RPC = -1,       // the RPC transport failed
  OPEN_E_INTERNAL = -2,  // the RPC answer could not be understood
  OPEN_E_FAIL = -20,
  OPEN_E_EMPTY = -21,
  OPEN_E_PARAM = -22,    // bad parameter
  OPEN_E_FULL = -23,
  OPEN_E_EXISTS = -24,   // already exists
  OPEN_E_TIMEOUT = -25,
  OPEN_E_ERROR = -26,
  OPEN_E_NOT_INIT = -27,
  OPEN_E_UNAVAIL = -28,  // unsupported
  OPEN_E_NOT_FOUND = -29 // not found, or a walk past its end
} open_error_t;

typedef struct {
  uint32_t size;
  char *pstart;
} open_buffdesc;

typedef enum { OPEN_AF_NONE = 0, OPEN_AF_INET = 1, OPEN_AF_INET6 = 2 } OPEN_AF_t;

typedef struct {
  uint32_t family;
  union {
    uint32_t ipv4;  // host byte order
    uint8_t ipv6[16];
  } addr;
} open_inet_addr_t;

typedef struct {
  uint8_t u8[16];  // network order
} open_in6_addr_t;

typedef struct {
  char clientName[100];
  int fd;  // connection to the OpEN server, -1 until the first call
  int stalled;  // a call timed out: the server is not asked again by this client
} openapiClientHandle_t;

// The enumerations, generated from open_enums.def and open_counters.def.
#define OPEN_ENUM_CONSTANT(name, value, word) name = value,
#define OPEN_ENUM(type, ...) typedef enum { OPEN_FOR_EACH(OPEN_ENUM_CONSTANT, __VA_ARGS__) } type;
#include "open/open_enums.def"
#undef OPEN_ENUM
#undef OPEN_ENUM_CONSTANT
#define OPEN_COUNTER(name, id) name = id,
typedef enum {
#include "open/open_counters.def"
} OPEN_COUNTER_ID_t;
#undef OPEN_COUNTER

// The argument types, generated from open_types.def and open_records.def.
#define OPEN_TYPE(tag, ctype, kind) OPEN_TRAITS_##kind(tag, ctype)
#include "open/open_types.def"
#undef OPEN_TYPE
#define OPEN_RECORD(tag, ctype, ...)                                  \
  typedef struct {                                                    \
    OPEN_FOR_EACH(OPEN_MEMBER_DECL, __VA_ARGS__)                      \
  } ctype;                                                            \
  OPEN_TRAITS_BY_POINTER(tag, ctype)
#include "open/open_records.def"
#undef OPEN_RECORD

open_error_t openapiClientRegister(const char *clientName, openapiClientHandle_t *clientHandle);
open_error_t openapiClientTearDown(openapiClientHandle_t *clientHandle);

#define OPEN_PROTO_PARAM(d, T, n) , OPEN_PARAM_##d(T) n
#define OPEN_OP(kind, name, ...) \
  open_error_t OPEN_FN_##kind(name)(openapiClientHandle_t * client OPEN_FOR_EACH(OPEN_PROTO_PARAM, __VA_ARGS__));
#include "open/open_ops.def"
#undef OPEN_OP
#undef OPEN_PROTO_PARAM

#ifdef __cplusplus
}
#endif
