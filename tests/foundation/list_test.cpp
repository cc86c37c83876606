#include <gtest/gtest.h>

#include <vector>

#include "foundation/list.h"

namespace {

class Item : public CElement<Item, Item> {
public:
    explicit Item(long id, long number = 0, const char* name = "") : _id(id), _number(number), _name(name) {}
    void Unlink() override { ++_unlinks; }
    virtual long ID() { return _id; }
    virtual long GetNumber() { return _number; }
    virtual CStr* GetName() { return &_name; }

    int _unlinks = 0;

private:
    long _id;
    long _number;
    CStr _name;
};

int Live() { return CElement<Item, Item>::_objCount; }

// IDs in list order, checked against the back links too.
std::vector<long> Ids(CKVList<Item, Item>& list)
{
    std::vector<long> ids;
    CElement<Item, Item>* prev = nullptr;
    for (Item* x = list.First(); x; x = list.Next()) {
        EXPECT_EQ(x->Prev(), prev);
        prev = x;
        ids.push_back(x->ID());
    }
    EXPECT_EQ(list.Tail(), prev ? prev->Me() : nullptr);
    EXPECT_EQ(static_cast<int>(ids.size()), list.Items());
    return ids;
}

}  // namespace

TEST(CKVList, AppendInsertDeleteKeepCursorAndCounts)
{
    const int base = Live();
    {
        CKVList<Item, Item> list;
        Item* a = new Item(1);
        EXPECT_EQ(list.Append(a), a);
        EXPECT_EQ(list.Head(), a);
        EXPECT_EQ(list.Tail(), a);
        EXPECT_EQ(list.Current(), a);
        EXPECT_EQ(list.Items(), 1);
        EXPECT_EQ(list.Index(), 1);
        EXPECT_EQ(a->RefCount(), 0);  // head, tail and cursor are not counted
        EXPECT_EQ(list.Append(nullptr), nullptr);
        EXPECT_EQ(list.Insert(nullptr), nullptr);
        EXPECT_EQ(list.Items(), 1);

        Item* b = list.Append(new Item(2));
        EXPECT_EQ(list.Index(), 2);
        EXPECT_EQ(a->RefCount(), 1);
        EXPECT_EQ(b->RefCount(), 1);

        // Insert on the head: the new element becomes the head, index unchanged.
        list.First();
        Item* z = list.Insert(new Item(0));
        EXPECT_EQ(list.Head(), z);
        EXPECT_EQ(list.Current(), z);
        EXPECT_EQ(list.Index(), 1);
        EXPECT_EQ(a->RefCount(), 2);
        // Insert in the middle.
        list.Next();
        list.Next();
        EXPECT_EQ(list.Current(), b);
        list.Insert(new Item(15));
        EXPECT_EQ(list.Index(), 3);
        EXPECT_EQ(Ids(list), (std::vector<long>{0, 1, 15, 2}));

        // Delete the last: cursor null, tail on the former second-to-last, index unchanged.
        list.ByOrdinal(4);
        EXPECT_EQ(list.Delete(), nullptr);
        EXPECT_EQ(list.Current(), nullptr);
        EXPECT_EQ(list.Index(), 4);
        EXPECT_EQ(list.Tail()->ID(), 15);
        EXPECT_EQ(Live(), base + 3);

        // Delete in the middle: the cursor moves to the follower, Unlink() is called.
        list.ByOrdinal(2);
        Item* follower = list.Delete();
        EXPECT_EQ(follower->ID(), 15);
        EXPECT_EQ(list.Index(), 2);
        EXPECT_EQ(Ids(list), (std::vector<long>{0, 15}));
        EXPECT_EQ(list.Head()->RefCount(), 1);

        // No cursor: Insert appends, Delete does nothing.
        list.ByOrdinal(9);
        EXPECT_EQ(list.Delete(), nullptr);
        list.Insert(new Item(20));
        EXPECT_EQ(list.Index(), 3);
        EXPECT_EQ(Ids(list), (std::vector<long>{0, 15, 20}));
        EXPECT_EQ(Live(), base + 3);
    }
    EXPECT_EQ(Live(), base);  // the destructor deletes everything

    CKVList<Item, Item> one;
    one.Append(new Item(7));
    one.First();
    EXPECT_EQ(one.Delete(), nullptr);
    EXPECT_EQ(one.Items(), 0);
    EXPECT_EQ(one.Head(), nullptr);
    EXPECT_EQ(one.Tail(), nullptr);
    EXPECT_EQ(Live(), base);
}

TEST(CKVList, OwnershipFollowsCountedLinks)
{
    const int base = Live();
    {
        CKVList<Item, Item> list;
        Item* a = list.Append(new Item(1));
        Item* b = list.Append(new Item(2));
        list.Append(new Item(3));

        // An element that something outside still links to is unlinked but not destroyed.
        Item* keeper = new Item(99);
        keeper->SetNext(b);
        list.ByOrdinal(2);
        list.Delete();
        EXPECT_EQ(b->_unlinks, 1);
        EXPECT_EQ(b->RefCount(), 1);
        EXPECT_EQ(b->Next(), nullptr);
        EXPECT_EQ(b->Prev(), nullptr);
        EXPECT_EQ(Live(), base + 4);
        EXPECT_EQ(Ids(list), (std::vector<long>{1, 3}));

        // Overwriting or clearing a link releases its old target.
        Item* tail = list.Tail();
        b->SetPrev(a);
        EXPECT_EQ(a->RefCount(), 2);
        b->SetPrev(tail);
        EXPECT_EQ(a->RefCount(), 1);
        EXPECT_EQ(tail->RefCount(), 2);
        b->SetPrev(nullptr);
        b->SetPrev(nullptr);
        EXPECT_EQ(tail->RefCount(), 1);

        // Destroying a free element destroys the chain behind it.
        Item* c = new Item(100);
        b->SetNext(c);
        c->SetPrev(b);
        delete keeper;
        EXPECT_EQ(Live(), base + 2);

        // Append walks from the tail to the true last element of a chain.
        Item* d = new Item(4);
        Item* e = new Item(5);
        d->SetNext(e);
        e->SetPrev(d);
        list.Append(d);
        list.Append(new Item(6));
        EXPECT_EQ(e->Next()->Me()->ID(), 6);
        EXPECT_EQ(list.Items(), 4);  // only appended elements are counted
    }
    EXPECT_EQ(Live(), base);
}

TEST(CKVList, OrdinalLookupReusesTheCursor)
{
    CKVList<Item, Item> list;
    EXPECT_EQ(list.ByOrdinal(1), nullptr);
    Item* a = list.Append(new Item(1));
    Item* b = list.Append(new Item(2));
    EXPECT_EQ(list.ByOrdinal(3), nullptr);
    EXPECT_EQ(list.Current(), nullptr);
    EXPECT_EQ(list.ByOrdinal(0), nullptr);
    EXPECT_EQ(list.ByOrdinal(1), a);
    EXPECT_EQ(list.ByOrdinal(2), b);
    EXPECT_EQ(list.ByOrdinal(2), b);
    EXPECT_EQ(list.ByOrdinal(1), a);

    // The walk starts from the cursor whenever the ordinal is not below its index:
    // a cursor placed with a false index shows which start was taken.
    list.SetCursor(a, 2);
    EXPECT_EQ(list.ByOrdinal(2), a);
    EXPECT_EQ(list.ByOrdinal(3), b);
    EXPECT_EQ(list.ByOrdinal(1), a);
    EXPECT_EQ(list.Index(), 1);
}

TEST(CObjectList, SortModesReplaceEqualKeys)
{
    const int base = Live();
    {
        CObjectList<Item, Item> byId(nullptr, 1);
        for (long id : {5, 3, 9})
            byId.Add(new Item(id));
        Item* again = byId.Add(new Item(3, 33));
        EXPECT_EQ(byId.Current(), again);
        EXPECT_EQ(byId.Index(), 1);
        EXPECT_EQ(Ids(byId), (std::vector<long>{3, 5, 9}));
        EXPECT_EQ(byId.Head(), again);
        EXPECT_EQ(Live(), base + 3);  // the first 3 was destroyed
        byId.Add(new Item(1));
        byId.Add(new Item(7));
        byId.Add(new Item(12));
        byId.Add(new Item(12));
        EXPECT_EQ(Ids(byId), (std::vector<long>{1, 3, 5, 7, 9, 12}));
        EXPECT_EQ(byId.Add(nullptr), nullptr);

        CObjectList<Item, Item> desc(nullptr, 4);
        for (long id : {1, 7, 4, 7})
            desc.Add(new Item(id));
        EXPECT_EQ(Ids(desc), (std::vector<long>{7, 4, 1}));

        CObjectList<Item, Item> byNumber(nullptr, 2);
        byNumber.Add(new Item(1, 30));
        byNumber.Add(new Item(2, 10));
        byNumber.Add(new Item(3, 20));
        byNumber.Add(new Item(4, 10));
        EXPECT_EQ(Ids(byNumber), (std::vector<long>{4, 3, 1}));
        EXPECT_EQ(byNumber.FindByNumber(20)->ID(), 3);
        EXPECT_EQ(byNumber.Index(), 2);
        EXPECT_EQ(byNumber.FindByNumber(99), nullptr);
        EXPECT_EQ(byNumber.Current(), nullptr);

        CObjectList<Item, Item> byName(nullptr, 3);
        byName.Add(new Item(1, 0, "pump"));
        byName.Add(new Item(2, 0, "PUMP"));
        byName.Add(new Item(3, 0, "hose"));
        byName.Add(new Item(4, 0, "Tank"));
        EXPECT_EQ(Ids(byName), (std::vector<long>{3, 2, 4}));
        EXPECT_EQ(byName.FindByName(CStr("TANK"))->ID(), 4);
        EXPECT_EQ(byName.Index(), 3);
        EXPECT_EQ(byName.FindByName(CStr("grade")), nullptr);
        EXPECT_EQ(byName.FindByID(2)->ID(), 2);
        EXPECT_EQ(byName.FindByID(8), nullptr);
        EXPECT_EQ(byName.Current(), nullptr);

        CObjectList<Item, Item> arrival;
        arrival.Add(new Item(2));
        arrival.Add(new Item(2));
        EXPECT_EQ(arrival.Add(nullptr), nullptr);
        EXPECT_EQ(Ids(arrival), (std::vector<long>{2, 2}));

        // Mode 5 and above add nothing and return the cursor.
        CObjectList<Item, Item> none(nullptr, 5);
        Item loose(1);
        EXPECT_EQ(none.Add(&loose), nullptr);
        EXPECT_EQ(none.Items(), 0);
    }
    EXPECT_EQ(Live(), base);
}
