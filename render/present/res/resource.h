#pragma once

// Resource identifiers of render/: 2000 to 2099.
#define IDB_DISCONNECT 2000
#define IDB_CONNECTFAIL 2001
