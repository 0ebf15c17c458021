/* Yardstick for bench/bench.sh: about the least a process can do to answer
 * with a cJSON document, so that the CGI's cost reads as a multiple of it.
 * Built with CGI_HEADER it is also a CGI program, for the web server. */
#include <cjson/cJSON.h>
#include <stdio.h>
#include <stdlib.h>

int main(void)
{
    cJSON *answer = cJSON_CreateObject();
    cJSON *resp = cJSON_CreateObject();
    if (answer == NULL || resp == NULL) {
        cJSON_Delete(answer);
        cJSON_Delete(resp);
        return 1;
    }
    cJSON_AddItemToObject(resp, "respCode", cJSON_CreateNumber(0));
    cJSON_AddItemToObject(resp, "respMsg", cJSON_CreateString("Success"));
    cJSON_AddItemToObject(resp, "status", cJSON_CreateString("success"));
    cJSON_AddItemToObject(answer, "resp", resp);

    char *text = cJSON_Print(answer);
    int rc = 1;
    if (text != NULL) {
#ifdef CGI_HEADER
        fputs("Content-Type: application/json\r\n\r\n", stdout);
#endif
        fputs(text, stdout);
        rc = 0;
    }
    free(text);
    cJSON_Delete(answer);
    return rc;
}
