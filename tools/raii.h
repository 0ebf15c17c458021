#pragma once
#include "cgi/request.h"
#include "open/raii.h"
