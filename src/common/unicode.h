// Conversions between the two forms of Unicode text that the system meets: UTF-16 inside, UTF-8 at the edges.
#pragma once

#include <kvdocmgr/text.h>
