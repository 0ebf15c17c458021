#pragma once
// One request as the program receives it. A front end (the CGI's
// environment and standard input, or one request of a FastCGI server) reads
// it once; dispatch, the session check and the route see only this record.
// Texts returned by the helpers below are owned by the caller unless said
// otherwise; views a Request hands out live as long as it does.
#include <cjson/cJSON.h>

#include <cstddef>
#include <memory>

#include "open/raii.h"

char **queryStringSplit(const char *text);
void queryStringFree(char **array);

struct QueryDeleter {
  void operator()(char **array) const { queryStringFree(array); }
};
using QueryArray = std::unique_ptr<char *, QueryDeleter>;

// How a query key is found among the pieces of a query. Both find the first
// piece that holds the key anywhere, a key inside another key's value
// included, which callers of the web interface rely on:
//   Contained        the text after the piece's first "=" (queryParamValue)
//   FollowedByEquals the text after the key's "<key>=", at most
//                    kFollowedValueBytes of it
enum class KeyMatch : unsigned char { Contained, FollowedByEquals };
constexpr size_t kFollowedValueBytes = 255;

// Points into `array`: the text after "=" of the first entry that contains `key`.
char *queryParamValue(const char *key, char **array);

// The largest body a POST or PUT may announce: a monitor-session document
// that names every port of the largest switch with its direction is about
// a tenth of it. A larger one is refused before a byte of it is read.
constexpr size_t kMaxBodyBytes = 64 * 1024;

class Request {
 public:
  // The request as the web server describes it; NULL for what is unset.
  // The texts must outlive the request.
  struct Fields {
    const char *method = nullptr;         // REQUEST_METHOD
    const char *uri = nullptr;            // REQUEST_URI
    const char *query = nullptr;          // QUERY_STRING
    const char *contentLength = nullptr;  // CONTENT_LENGTH
    const char *session = nullptr;        // HTTP_SESSION
    const char *refresh = nullptr;        // HTTP_REFRESH
  };
  // Reads the body, when the method has one, a byte at a time from
  // `nextByte(source)` (EOF at its end), as many bytes as CONTENT_LENGTH
  // announces and no more.
  using ByteSource = int (*)(void *source);
  Request(const Fields &fields, ByteSource nextByte, void *source);
  Request(const Request &) = delete;
  Request &operator=(const Request &) = delete;

  const Fields &fields() const { return fields_; }
  const char *method() const { return fields_.method; }
  const char *uri() const { return fields_.uri; }
  // A POST or PUT that announced more than kMaxBodyBytes: its body was not read.
  bool bodyTooLarge() const { return bodyTooLarge_; }
  size_t announcedLength() const { return announced_; }

  // The request data of requestDataGet: the query of a GET or DELETE, the
  // body of a POST or PUT, NULL for any other method.
  const char *requestData() const { return requestData_.get(); }
  // Its bytes, a body's NUL bytes and its end-of-input byte included.
  size_t requestDataLength() const { return requestDataLength_; }
  // The value of `key` in QUERY_STRING, or in the request data; NULL when absent.
  const char *queryValue(const char *key, KeyMatch match);
  const char *requestDataValue(const char *key, KeyMatch match);
  // The request data parsed as one JSON value; NULL when it is not one.
  const cJSON *body();

 private:
  const char *findIn(QueryArray &pieces, const char *key, KeyMatch match);

  Fields fields_;
  bool bodyTooLarge_ = false;
  size_t announced_ = 0;
  CText requestData_;
  size_t requestDataLength_ = 0;
  QueryArray querySplit_;
  bool querySplitDone_ = false;
  QueryArray requestSplit_;
  bool requestSplitDone_ = false;
  JsonPtr body_;
  bool bodyParsed_ = false;
  char followed_[kFollowedValueBytes + 1] = {};
};

// The request data of `request` as a new text (the caller frees it), read
// by the rules of requestData().
char *requestDataGet(const Request &request);
