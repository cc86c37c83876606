#include "client/IEvents.h"

template class TEventsInterface<CEvents, KvEventsRows>;
