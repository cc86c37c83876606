// The serving side shared by the events interface (CIEvents) and the database interface
// (CIDB): every incoming call of the interface's table is unpacked in its row's order
// through the table dispatch, and the record built from its arguments is appended to the
// session's event queue.
#pragma once
#include <cstddef>
#include <cstdint>
#include <utility>
#include "client/records.h"
#include "client/session.h"
#include "rpc/message.h"
#include "rpc/method.h"
#include "rpc/serverif.h"

// What the events interfaces hold: nothing, so a request naming an object is answered -7.
template <uint16_t Iface>
class TNoObject : public CElement<TNoObject<Iface>, TNoObject<Iface>> {
public:
    virtual long ID() const = 0;
    virtual long GetNumber() const = 0;
    virtual CStr* GetName() = 0;
};

namespace kvev {

// The reading side of one request as the table dispatch sees it. A call with an optional
// tail (events call 13, database call 17) looks at the tag after its mandatory fields:
// the end of the parameters means that the whole tail is missing, and each of its fields
// then takes its missing value (a fixed-point value -1 like the other numbers); anything
// else means that the whole tail follows.
template <class I>
class TRequestReader {
public:
    TRequestReader(I& i, int mandatory) : _i(i), _mandatory(mandatory) {}

    void InitUnpack()
    {
        _i.InitUnpack();
        _read = 0;
        _missing = false;
    }
    template <class V>
    void Unpack(V& v)
    {
        if (_read++ == _mandatory && _i.IfType(TAG_END, 0))
            _missing = true;
        if (_missing)
            v = Missing<V>(CCur::FromRaw(-10000));
        else
            _i.Unpack(v);
    }
    void EndUnpack() { _i.EndUnpack(); }
    TIMsg* Msg() const { return _i.Msg(); }
    void EndPack() { _i.EndPack(); }

private:
    I& _i;
    int _mandatory;   // -1: the row has no optional tail
    int _read = 0;
    bool _missing = false;
};

// The handler of both tables: one member per row, named as the row, that queues the row's
// record built from the unpacked arguments.
class CEventQueueing {
public:
    explicit CEventQueueing(CKVCLProcess& session) : _session(session) {}

#define KV_QUEUE_ROW(Record, Code, Row, ...) \
    long Row(const auto&... f) { return Queue<Record>(f...); }
    KV_EVENT_RECORDS(KV_QUEUE_ROW)
#undef KV_QUEUE_ROW

    // Call 13: a missing tail has been filled by the reader.
    long OldPumpEvent(const auto&... f) { return Queue<CPumpEvent>(f...); }
    // Call 14 stops after field 27: the fields it lacks are no date, amounts 0 (they are
    // added up, and 0 means none), keys -1 and empty strings.
    long OldDeliveryEvent(const auto&... f) { return QueueFilled<CDeliveryEvent>(CCur(), f...); }

private:
    template <class R, class... A>
    long Queue(const A&... a)
    {
        _session.QueueEvent(new R(a...));
        return OK_RESULT;
    }

    template <class R, class... A>
    long QueueFilled(const CCur& amount, const A&... a)
    {
        constexpr std::size_t sent = sizeof...(A);
        static_assert(sent <= R::kFields);
        return [&]<std::size_t... K>(std::index_sequence<K...>) {
            return Queue<R>(a..., Missing<typename R::template FieldType<sent + 1 + K>>(amount)...);
        }(std::make_index_sequence<R::kFields - sent>());
    }

    CKVCLProcess& _session;
};

}  // namespace kvev

// The identity of a served table: interface type, and the row with an optional tail with
// the number of its fields that always travel. A table's Rows add kModule (named in the
// refusal's log line) and Dispatch (KV_SERVER_DISPATCH of the table).
template <uint16_t Type, int OptionalId, int Mandatory>
struct TRows {
    static constexpr uint16_t kType = Type;
    static constexpr int kOptionalId = OptionalId;
    static constexpr int kMandatory = Mandatory;
};

template <class T, class Rows>
class TEventsInterface : public CServerInterface<T> {
public:
    explicit TEventsInterface(CKVCLProcess* session)
        : CServerInterface<T>(session, session->EventsSocket(), session->ClientID()), _session(session) {}

    uint16_t ObjectType() const override { return Rows::kType; }
    uint16_t InterfaceVersion() const override { return 0; }

    long ProcessCall(short function, T*, CSocket*) override
    {
        kvev::TRequestReader<CServerInterface<T>> reader(*this, function == Rows::kOptionalId ? Rows::kMandatory : -1);
        kvev::CEventQueueing handler(*_session);
        long r = OK_RESULT;
        if (!Rows::Dispatch(function, reader, handler, nullptr, r))
            this->Throw(BAD_FUNCTION_RESULT, __LINE__, "ProcessCall", Rows::kModule);
        return r;
    }

private:
    CKVCLProcess* _session;
};

// Declares the interface class Name that serves Rows, instantiated in Name's source.
#define KV_EVENTS_INTERFACE(Name, T, Rows)                  \
    extern template class TEventsInterface<T, Rows>;       \
    class Name : public TEventsInterface<T, Rows> {        \
    public:                                                \
        using TEventsInterface::TEventsInterface;          \
    };
