// Intrusive doubly linked lists with counted links and a cursor.
//   CElement<T,U>   base of every element: links + reference count
//   CKVList<T,U>    head, tail, cursor; owns its elements
//   CObjectList<T,U> a CKVList kept in one of five orders, found by ID or name
// T must derive from CElement<T,U>; CObjectList also needs T::ID(), T::GetNumber(), T::GetName().
#pragma once
#include "foundation/parent.h"
#include "foundation/str.h"

template <class T, class U> class CKVList;

template <class T, class U>
class CElement {
public:
    CElement();
    // Destroying an element whose _next is still set destroys the chain behind it.
    virtual ~CElement() = 0;
    virtual void Unlink() {}
    virtual T* Me() { return static_cast<T*>(this); }

    int RefCount() const { return _refCount; }
    CElement* Next() const { return _next; }
    CElement* Prev() const { return _prev; }
    // Counted link setters: the target's _refCount rises, the old target's falls (never below 0).
    void SetNext(CElement* e);
    void SetPrev(CElement* e);

    static inline int _objCount = 0;

protected:
    int _refCount;
    CElement* _next;
    CElement* _prev;
    friend class CKVList<T, U>;
};

template <class T, class U>
class CKVList {
public:
    CKVList();
    ~CKVList();                      // deletes every element (cursor on head, Delete() until empty)
    CKVList(const CKVList&) = delete;
    CKVList& operator=(const CKVList&) = delete;

    T* Append(T* e);
    T* Insert(T* e);                 // in front of the cursor; no cursor: Append
    T* Delete();                     // removes the cursor element; returns the new cursor or 0

    int Items() const { return _items; }
    int Index() const { return _index; }
    T* Head() const;
    T* Tail() const;
    T* Current() const;
    // Cursor walk used by the owners.
    T* First();                      // cursor := head, index 1 (0 when empty)
    T* Next();                       // cursor := cursor->_next, index + 1
    T* Prev();
    void SetCursor(CElement<T, U>* e, int index) { _current = e; _index = index; }
    // Positional look-up (1-based); walks on from the cursor when n >= _index.
    T* ByOrdinal(long n);

protected:
    int _items;
    CElement<T, U>* _head;
    CElement<T, U>* _tail;
    CElement<T, U>* _current;
    int _index;
};

template <class T, class U>
class CObjectList : public CKVList<T, U> {
public:
    explicit CObjectList(CProcess* process = nullptr, int sortMode = 0)
        : _parent(process), _sortMode(sortMode) {}

    T* Add(T* e);                    // placement by _sortMode (0 arrival, 1 ID asc, 2 number asc, 3 name asc, 4 ID desc)
    T* FindByID(long id);
    T* FindByName(const CStr& name);
    T* FindByNumber(long number);
    int SortMode() const { return _sortMode; }
    void SetSortMode(int m) { _sortMode = m; }

private:
    CParent _parent;
    int _sortMode;
};

// ---- implementation ----

template <class T, class U>
CElement<T, U>::CElement() : _refCount(0), _next(nullptr), _prev(nullptr)
{
    ++_objCount;
}

template <class T, class U>
CElement<T, U>::~CElement()
{
    --_objCount;
    // A free chain is owned by its first element. Detach each follower before deleting
    // it so that the cascade runs as a loop rather than as nested destructor calls.
    CElement* follower = _next;
    _next = nullptr;
    while (follower) {
        CElement* after = follower->_next;
        follower->_next = nullptr;
        follower->_prev = nullptr;
        delete follower;
        follower = after;
    }
}

template <class T, class U>
void CElement<T, U>::SetNext(CElement* e)
{
    if (_next && _next->_refCount > 0)
        --_next->_refCount;
    _next = e;
    if (e)
        ++e->_refCount;
}

template <class T, class U>
void CElement<T, U>::SetPrev(CElement* e)
{
    if (_prev && _prev->_refCount > 0)
        --_prev->_refCount;
    _prev = e;
    if (e)
        ++e->_refCount;
}

template <class T, class U>
CKVList<T, U>::CKVList() : _items(0), _head(nullptr), _tail(nullptr), _current(nullptr), _index(0)
{
}

template <class T, class U>
CKVList<T, U>::~CKVList()
{
    First();
    while (_current)
        Delete();
}

template <class T, class U>
T* CKVList<T, U>::Append(T* e)
{
    if (!e)
        return nullptr;
    CElement<T, U>* el = e;
    if (!_head) {
        _head = el;
        _items = 1;
    } else {
        // Something may have been chained behind the tail from outside: link to the true end.
        CElement<T, U>* last = _tail ? _tail : _head;
        while (last->_next)
            last = last->_next;
        last->SetNext(el);
        el->SetPrev(last);
        ++_items;
    }
    _tail = _current = el;
    _index = _items;
    return e->Me();
}

template <class T, class U>
T* CKVList<T, U>::Insert(T* e)
{
    if (!e)
        return nullptr;
    if (!_current)
        return Append(e);
    CElement<T, U>* el = e;
    CElement<T, U>* before = _current->_prev;
    el->SetPrev(before);
    if (before)
        before->SetNext(el);
    if (_head == _current)
        _head = el;
    el->SetNext(_current);
    _current->SetPrev(el);
    ++_items;
    _current = el;
    return e->Me();
}

template <class T, class U>
T* CKVList<T, U>::Delete()
{
    if (!_current)
        return nullptr;
    CElement<T, U>* gone = _current;
    CElement<T, U>* before = gone->_prev;
    CElement<T, U>* after = gone->_next;
    if (before)
        before->SetNext(after);
    if (after)
        after->SetPrev(before);
    gone->SetNext(nullptr);
    gone->SetPrev(nullptr);
    if (_head == gone)
        _head = after;
    if (_tail == gone)
        _tail = before;
    --_items;
    _current = after;
    gone->Unlink();
    // Still linked from elsewhere: that owner destroys it.
    if (gone->_refCount == 0)
        delete gone;
    return _current ? _current->Me() : nullptr;
}

template <class T, class U>
T* CKVList<T, U>::Head() const
{
    return _head ? _head->Me() : nullptr;
}

template <class T, class U>
T* CKVList<T, U>::Tail() const
{
    return _tail ? _tail->Me() : nullptr;
}

template <class T, class U>
T* CKVList<T, U>::Current() const
{
    return _current ? _current->Me() : nullptr;
}

template <class T, class U>
T* CKVList<T, U>::First()
{
    _current = _head;
    _index = _head ? 1 : 0;
    return Current();
}

template <class T, class U>
T* CKVList<T, U>::Next()
{
    if (!_current)
        return nullptr;
    _current = _current->_next;
    ++_index;
    return Current();
}

template <class T, class U>
T* CKVList<T, U>::Prev()
{
    if (!_current)
        return nullptr;
    _current = _current->_prev;
    --_index;
    return Current();
}

template <class T, class U>
T* CKVList<T, U>::ByOrdinal(long n)
{
    if (n < 1) {
        _current = nullptr;
        return nullptr;
    }
    // Rising ordinals walk on from the cursor, so a sequential scan stays linear.
    if (!_current || n < _index)
        First();
    while (_current && _index < n)
        Next();
    return Current();
}

template <class T, class U>
T* CObjectList<T, U>::Add(T* e)
{
    const int mode = _sortMode;
    if (mode == 0)
        return this->Append(e);
    if (mode < 0 || mode > 4)
        return this->Current();
    if (!e)
        return nullptr;

    // Sign of (existing key - new key) in the order of the mode.
    auto cmp = [mode, e](T* x) -> int {
        switch (mode) {
        case 2: {
            long a = x->GetNumber(), b = e->GetNumber();
            return a < b ? -1 : (a > b ? 1 : 0);
        }
        case 3: {
            const CStr* a = x->GetName();
            const CStr* b = e->GetName();
            if (a && b)
                return a->Compare(*b);
            CStr none;  // a missing name sorts as an empty one
            return (a ? *a : none).Compare(b ? *b : none);
        }
        default: {
            long a = x->ID(), b = e->ID();
            return a < b ? -1 : (a > b ? 1 : 0);
        }
        }
    };

    if (mode == 1) {
        // Objects usually arrive in ascending ID order: search from the tail.
        this->_current = this->_tail;
        this->_index = this->_items;
        while (this->_current && cmp(this->_current->Me()) > 0) {
            this->_current = this->_current->Prev();
            --this->_index;
        }
        if (!this->_current) {
            this->First();
        } else if (cmp(this->_current->Me()) == 0) {
            this->Delete();
        } else {
            this->_current = this->_current->Next();
            ++this->_index;
        }
        return this->Insert(e);
    }

    // Modes 2 and 3 stop at the first key not below the new one, mode 4 at the first not above.
    this->First();
    while (this->_current) {
        int c = cmp(this->_current->Me());
        if (mode == 4 ? c <= 0 : c >= 0)
            break;
        this->Next();
    }
    if (!this->_current)
        return this->Append(e);
    if (cmp(this->_current->Me()) == 0)
        this->Delete();
    return this->Insert(e);
}

template <class T, class U>
T* CObjectList<T, U>::FindByID(long id)
{
    for (T* x = this->First(); x; x = this->Next())
        if (x->ID() == id)
            return x;
    return nullptr;
}

template <class T, class U>
T* CObjectList<T, U>::FindByName(const CStr& name)
{
    for (T* x = this->First(); x; x = this->Next()) {
        const CStr* n = x->GetName();
        if (n && n->Compare(name) == 0)
            return x;
    }
    return nullptr;
}

template <class T, class U>
T* CObjectList<T, U>::FindByNumber(long number)
{
    for (T* x = this->First(); x; x = this->Next())
        if (x->GetNumber() == number)
            return x;
    return nullptr;
}
