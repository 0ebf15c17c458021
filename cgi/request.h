#pragma once
// CGI request input. Texts and arrays returned here are owned by the caller.

char *requestDataGet(void);
char **queryStringSplit(const char *text);
void queryStringFree(char **array);
// Points into `array`: the text after "=" of the first entry that contains `key`.
char *queryParamValue(const char *key, char **array);
