// The serving half of the call protocol: the objects a serving interface holds and
// CServerInterface<T>, which checks an incoming request, answers the generic functions
// 2..12 itself and hands every other function to ProcessCall.
#pragma once
#include <cstdint>
#include <type_traits>
#include "foundation/str.h"
#include "foundation/list.h"
#include "foundation/log.h"
#include "foundation/parent.h"
#include "foundation/timer.h"
#include "rpc/interface.h"
#include "rpc/message.h"
#include "rpc/method.h"

class CProcess;
class CSocket;

class CIObject : public CElement<CIObject, CIObject> {
public:
    ~CIObject() override = default;
    virtual long ID() const = 0;
    virtual long GetNumber() const = 0;
    virtual CStr* GetName() = 0;
    virtual bool CanDelete() const { return false; }
    virtual short Type() const { return 0; }
    virtual const char* TypeName() const { return "CIObject"; }
    virtual void TimerEvent(short) {}
    // Edits and bookkeeping of the generic functions; an object without stored identity
    // ignores them.
    virtual void SetNumber(long) {}
    virtual void SetName(const CStr&) {}
    virtual void SetLastAddressed(long) {}
};

// An object with stored identity.
class CPhyObject : public CIObject {
public:
    CPhyObject(long id, long number, const CStr& name, CProcess* process)
        : _id(id), _number(number), _name(name), _parent(process), _lastAddressed(CTimer::Ticks()) {}

    long ID() const override { return _id; }
    long GetNumber() const override { return _number; }
    CStr* GetName() override { return &_name; }
    bool CanDelete() const override { return true; }
    void SetNumber(long number) override { _number = number; }
    void SetName(const CStr& name) override { _name = name; }
    void SetLastAddressed(long ms) override { _lastAddressed = ms; }
    long LastAddressed() const { return _lastAddressed; }
    CProcess* Process() const { return _parent.Parent(); }

protected:
    long _id;
    long _number;
    CStr _name;
    CParent _parent;
    long _lastAddressed;   // CTimer::Ticks() of the last request naming it
};

// An object whose identity the derived class computes (ID, GetNumber, GetName stay abstract).
class CVrtObject : public CIObject {};

template <class T>
class CServerInterface : public CInterface {
public:
    // ownId: the ID that requests must name as their destination (0 on a server, the
    // client's ID on a client's events interfaces).
    CServerInterface(CProcess* process, CSocket* socket, long ownId, int sortMode = 0)
        : CInterface(process, socket, ownId), _objects(process, sortMode) {}

    // Checks and dispatches one request, leaving the reply in msg. An unknown object is
    // answered with -7 in the result field and nothing else changed (returns 0: it is an
    // answer, not a failure). A request that is refused (its checks, its unpacking, an
    // unknown function) is answered with the code and no values; the code is returned.
    long ProcessMsg(TIMsg* msg, CSocket* socket) override;
    void InitUnpack();                                       // the request checks

    virtual long ProcessCall(short function, T* object, CSocket* socket) = 0;
    virtual void CachePurge() {}
    virtual T* FindObjByID(long id) { return _objects.FindByID(id); }
    virtual T* FindObjByName(const CStr& name) { return _objects.FindByName(name); }
    virtual T* FindObjByNumber(long number) { return _objects.FindByNumber(number); }
    virtual T* FindObjByOrdinal(long ordinal) { return _objects.ByOrdinal(ordinal); }
    virtual long GetCount() { return _objects.Items(); }

    CObjectList<T, T>& Objects() { return _objects; }

protected:
    CObjectList<T, T> _objects;

private:
    class Generic;
};

// The serving side of functions 2..12, called through KvCommon::Dispatch.
template <class T>
class CServerInterface<T>::Generic {
public:
    explicit Generic(CServerInterface& s) : _s(s) {}

    long GetVersion(long* version)
    {
        if (version)
            *version = (static_cast<long>(_s.InterfaceVersion()) << 16) + _s.ObjectType();
        return OK_RESULT;
    }

    // New objects are CPhyObjects when T can hold one, else T(id, number, name, process)
    // when T has that constructor; an interface of any other T refuses New with -4.
    long New(const CStr& name, long id, long number)
    {
        if (_s._objects.FindByID(id))
            return EXISTS_RESULT;
        if constexpr (std::is_base_of_v<T, CPhyObject>)
            _s._objects.Add(new CPhyObject(id, number, name, _s.Process()));
        else if constexpr (std::is_constructible_v<T, long, long, const CStr&, CProcess*>)
            _s._objects.Add(new T(id, number, name, _s.Process()));
        else
            return BAD_FUNCTION_RESULT;
        return OK_RESULT;
    }

    long Delete(T* object)
    {
        CObjectList<T, T>& list = _s._objects;
        if (!object) {
            CLog* log = _s.Trace();
            for (T* o = list.First(); o;) {
                if (!Deletable(o)) {
                    o = list.Next();
                    continue;
                }
                if (log)
                    log->Log("DeleteAll object %s , ID %d", NameOf(o), static_cast<int>(o->ID()));
                o = list.Delete();
            }
            return OK_RESULT;
        }
        if (!Deletable(object))
            return CANNOT_DELETE_RESULT;
        for (T* o = list.First(); o; o = list.Next())
            if (o == object) {
                list.Delete();
                break;
            }
        return OK_RESULT;
    }

    long Count(long* count)
    {
        if (count)
            *count = _s.GetCount();
        return OK_RESULT;
    }

    long GetIDByNumber(long number, long* id) { return IDOf(_s.FindObjByNumber(number), id); }
    long GetIDByName(const CStr& name, long* id) { return IDOf(_s.FindObjByName(name), id); }
    long GetIDByOrdinal(long ordinal, long* id) { return IDOf(_s.FindObjByOrdinal(ordinal), id); }

    // Object rows with header object -1 have no object to read or edit.
    long GetNumber(T* object, long* number)
    {
        if (!object)
            return NO_OBJECT_RESULT;
        if (number)
            *number = object->GetNumber();
        return OK_RESULT;
    }

    long SetNumber(T* object, long number)
    {
        if (!object)
            return NO_OBJECT_RESULT;
        if constexpr (requires { object->SetNumber(number); })
            object->SetNumber(number);
        return OK_RESULT;
    }

    long GetName(T* object, CStr* name)
    {
        if (!object)
            return NO_OBJECT_RESULT;
        if (name) {
            if (const CStr* have = object->GetName())
                *name = *have;
            else
                name->ReleaseBuffer();
        }
        return OK_RESULT;
    }

    long SetName(T* object, const CStr& name)
    {
        if (!object)
            return NO_OBJECT_RESULT;
        if constexpr (requires { object->SetName(name); })
            object->SetName(name);
        return OK_RESULT;
    }

private:
    static long IDOf(T* found, long* id)
    {
        if (!found)
            return NOT_FOUND_RESULT;
        if (id)
            *id = found->ID();
        return OK_RESULT;
    }

    // Element types without a CanDelete of their own belong to the interface entirely.
    static bool Deletable(T* o)
    {
        if constexpr (requires { o->CanDelete(); })
            return o->CanDelete();
        else
            return true;
    }

    static const char* NameOf(T* o)
    {
        const CStr* name = o->GetName();
        return name ? static_cast<const char*>(static_cast<char*>(*name)) : "";
    }

    CServerInterface& _s;
};

template <class T>
void CServerInterface<T>::InitUnpack()
{
    const TIMsgHeader& h = _msg->h;
    if (h.result != 0)
        Throw(static_cast<TResult>(h.result), __LINE__, "InitUnpack");
    if (h.kind != 1)
        Throw(BAD_KIND_RESULT, __LINE__, "InitUnpack");
    if (h.version != static_cast<uint8_t>(InterfaceVersion()))
        Throw(BAD_VERSION_RESULT, __LINE__, "InitUnpack");
    if (h.type != ObjectType())
        Throw(BAD_INTERFACE_RESULT, __LINE__, "InitUnpack");
    if (h.destination != static_cast<uint32_t>(ClientID()))
        Throw(BAD_DESTINATION_RESULT, __LINE__, "InitUnpack");
    _readPos = 0;
}

template <class T>
long CServerInterface<T>::ProcessMsg(TIMsg* msg, CSocket* socket)
{
    // The served message is current only while it is being served.
    struct Current {
        CInterface& i;
        ~Current() { i.SetMsg(i.Buffer()); }
    } current{*this};
    SetMsg(msg);

    T* object = nullptr;
    const long id = static_cast<int32_t>(msg->h.object);
    if (id != -1) {
        object = FindObjByID(id);
        if (!object) {
            msg->h.result = NO_OBJECT_RESULT;
            return OK_RESULT;
        }
        if constexpr (requires { object->SetLastAddressed(0L); })
            object->SetLastAddressed(CTimer::Ticks());
    }
    msg->h.result = 0;
    const TIMsgHeader request = msg->h;
    try {
        Generic generic(*this);
        long r;
        if (KvCommon::Dispatch(msg->h.function, *this, generic, object, r))
            return r;
        return ProcessCall(msg->h.function, object, socket);
    } catch (TResult r) {
        AnswerRefused(msg, request, r);
        return r;
    }
}
