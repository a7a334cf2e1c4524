#pragma once

// Datagram sockets: groups, receive buffers, the interface that multicast is received on.

#include "live/net/Groupsock.h"
#include "live/net/GroupsockHelper.h"
#include "net/Sockets.h"
