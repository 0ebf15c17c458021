// Port mirroring: the fine-grained mirror routes, then the whole-session document.
#include "routes/families.h"
#include "routes/mirror/mirror.h"

void mirrorRoutesRegister(httpdTable *table) {
  mirror::mirrorRouteTableRegister(table);
  mirror::sessionConfigRegister(table);
}
