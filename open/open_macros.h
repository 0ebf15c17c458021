#pragma once
// Preprocessor machinery that turns the operation list into prototypes,
// descriptors, client stubs and simulator dispatch.

#define OPEN_CAT_(a, b) a##b
#define OPEN_CAT(a, b) OPEN_CAT_(a, b)

#define OPEN_NARGS_(_20, _19, _18, _17, _16, _15, _14, _13, _12, _11, _10, _9, _8, _7, _6, _5, _4, _3, _2, _1, N, ...) N
#define OPEN_NARGS(...) \
  OPEN_NARGS_(__VA_ARGS__ __VA_OPT__(, ) 20, 19, 18, 17, 16, 15, 14, 13, 12, 11, 10, 9, 8, 7, 6, 5, 4, 3, 2, 1, 0)

// Applies M to each parenthesised tuple: OPEN_FOR_EACH(M, (a, b), (c, d)) -> M(a, b) M(c, d)
#define OPEN_FOR_EACH(M, ...) OPEN_CAT(OPEN_FE_, OPEN_NARGS(__VA_ARGS__))(M __VA_OPT__(, ) __VA_ARGS__)
#define OPEN_FE_0(M)
#define OPEN_FE_1(M, x) M x
#define OPEN_FE_2(M, x, ...) M x OPEN_FE_1(M, __VA_ARGS__)
#define OPEN_FE_3(M, x, ...) M x OPEN_FE_2(M, __VA_ARGS__)
#define OPEN_FE_4(M, x, ...) M x OPEN_FE_3(M, __VA_ARGS__)
#define OPEN_FE_5(M, x, ...) M x OPEN_FE_4(M, __VA_ARGS__)
#define OPEN_FE_6(M, x, ...) M x OPEN_FE_5(M, __VA_ARGS__)
#define OPEN_FE_7(M, x, ...) M x OPEN_FE_6(M, __VA_ARGS__)
#define OPEN_FE_8(M, x, ...) M x OPEN_FE_7(M, __VA_ARGS__)
#define OPEN_FE_9(M, x, ...) M x OPEN_FE_8(M, __VA_ARGS__)
#define OPEN_FE_10(M, x, ...) M x OPEN_FE_9(M, __VA_ARGS__)
#define OPEN_FE_11(M, x, ...) M x OPEN_FE_10(M, __VA_ARGS__)
#define OPEN_FE_12(M, x, ...) M x OPEN_FE_11(M, __VA_ARGS__)
#define OPEN_FE_13(M, x, ...) M x OPEN_FE_12(M, __VA_ARGS__)
#define OPEN_FE_14(M, x, ...) M x OPEN_FE_13(M, __VA_ARGS__)
#define OPEN_FE_15(M, x, ...) M x OPEN_FE_14(M, __VA_ARGS__)
#define OPEN_FE_16(M, x, ...) M x OPEN_FE_15(M, __VA_ARGS__)
#define OPEN_FE_17(M, x, ...) M x OPEN_FE_16(M, __VA_ARGS__)
#define OPEN_FE_18(M, x, ...) M x OPEN_FE_17(M, __VA_ARGS__)
#define OPEN_FE_19(M, x, ...) M x OPEN_FE_18(M, __VA_ARGS__)
#define OPEN_FE_20(M, x, ...) M x OPEN_FE_19(M, __VA_ARGS__)

// Entry names: RPC operations carry the client library's prefix, the
// interface queries keep their plain names.
#define OPEN_FN_RPC(name) rpcclt_##name
#define OPEN_FN_PLAIN(name) name

// How each type of open_types.def and open_records.def appears in a
// prototype (`in`, `out`) and inside a record (`value`).
#define OPEN_TRAITS_INT(tag, ctype)   \
  struct open_arg_##tag {             \
    typedef ctype value;              \
    typedef ctype in;                 \
    typedef ctype *out;               \
  };
#define OPEN_TRAITS_BY_POINTER(tag, ctype) \
  struct open_arg_##tag {                  \
    typedef ctype value;                   \
    typedef ctype *in;                     \
    typedef ctype *out;                    \
  };
#define OPEN_TRAITS_TEXT OPEN_TRAITS_BY_POINTER
#define OPEN_TRAITS_WORDS OPEN_TRAITS_BY_POINTER
#define OPEN_TRAITS_BYTES OPEN_TRAITS_BY_POINTER
#define OPEN_TRAITS_ADDR OPEN_TRAITS_BY_POINTER
#define OPEN_TRAITS_IN6 OPEN_TRAITS_BY_POINTER

#define OPEN_PARAM_IN(T) open_arg_##T::in
#define OPEN_PARAM_OUT(T) open_arg_##T::out
#define OPEN_PARAM_INOUT(T) open_arg_##T::out

// A record member, optionally an array: (type, name) or (type, name, length).
#define OPEN_MEMBER_DECL(T, n, ...) open_arg_##T::value n __VA_OPT__([__VA_ARGS__]);
#define OPEN_MEMBER_LENGTH(...) (1 __VA_OPT__(-1 + __VA_ARGS__))
