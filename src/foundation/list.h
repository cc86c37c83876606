// Intrusive doubly linked lists with counted links and a cursor.
//   CElement<T,U>   base of every element: links + reference count
//   CKVList<T,U>    head, tail, cursor; owns its elements
//   CObjectList<T,U> a CKVList kept in one of five orders, found by ID or name
// T must derive from CElement<T,U>; CObjectList also needs T::ID(), T::GetNumber(), T::GetName().
#pragma once
#include "foundation/parent.h"

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
