// CEvent: the base of every queued event record.
#pragma once
#include "foundation/list.h"

class CEvent : public CElement<CEvent, CEvent> {
public:
    ~CEvent() override = default;
    // The event type code reported by GetNextEventType.
    virtual short Type() const = 0;
};
