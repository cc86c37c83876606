#include "client/IDB.h"

template class TEventsInterface<CDB, KvDBRows>;
