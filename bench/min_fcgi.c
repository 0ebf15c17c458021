/* The FastCGI yardstick for bench/bench.sh: the answer of bench/min.c, one
 * cJSON document, from a libfcgi loop that answers request after request,
 * so that the program's FastCGI mode reads as a share of the most a
 * process that stays can do. */
#include <cjson/cJSON.h>
#include <fcgiapp.h>
#include <stdlib.h>
#include <string.h>

static char *document(void)
{
    cJSON *answer = cJSON_CreateObject();
    cJSON *resp = cJSON_CreateObject();
    char *text = NULL;
    if (answer != NULL && resp != NULL) {
        cJSON_AddItemToObject(resp, "respCode", cJSON_CreateNumber(0));
        cJSON_AddItemToObject(resp, "respMsg", cJSON_CreateString("Success"));
        cJSON_AddItemToObject(resp, "status", cJSON_CreateString("success"));
        cJSON_AddItemToObject(answer, "resp", resp);
        resp = NULL;
        text = cJSON_Print(answer);
    }
    cJSON_Delete(answer);
    cJSON_Delete(resp);
    return text;
}

int main(void)
{
    FCGX_Request request;
    if (FCGX_Init() != 0 || FCGX_InitRequest(&request, 0, 0) != 0) return 1;
    while (FCGX_Accept_r(&request) >= 0) {
        char *text = document();
        FCGX_PutS("Content-Type: application/json\r\n\r\n", request.out);
        if (text != NULL) FCGX_PutStr(text, (int)strlen(text), request.out);
        free(text);
        FCGX_Finish_r(&request);
    }
    return 0;
}
