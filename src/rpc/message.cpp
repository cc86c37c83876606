#include "rpc/message.h"

const char* const ManagementFtnNames[8] = {
    "INVALID", "CONNECT", "DISCONNECT", "PING", "PONG", "EVENTS", "SHUTDOWN", "CLOSE",
};
