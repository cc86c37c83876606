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
    long _id, _number;
    CStr _name;
};

using List = CKVList<Item, Item>;
using Objects = CObjectList<Item, Item>;

int Live() { return CElement<Item, Item>::_objCount; }

// IDs in list order; the back links and the tail must agree with the walk.
std::vector<long> Ids(List& list)
{
    std::vector<long> ids;
    CElement<Item, Item>* prev = nullptr;
    for (Item* x = list.First(); x; prev = x, x = list.Next()) {
        EXPECT_EQ(x->Prev(), prev);
        ids.push_back(x->ID());
    }
    EXPECT_EQ(list.Tail(), prev ? prev->Me() : nullptr);
    return ids;
}

}  // namespace

TEST(CKVList, AppendInsertDeleteAndOrdinals)
{
    const int base = Live();
    {
        List list;
        Item* a = list.Append(new Item(1));
        EXPECT_TRUE(list.Head() == a && list.Tail() == a && list.Current() == a);
        EXPECT_TRUE(list.Items() == 1 && list.Index() == 1);
        EXPECT_EQ(a->RefCount(), 0);  // head, tail and cursor are not counted
        EXPECT_EQ(list.Append(nullptr), nullptr);
        EXPECT_EQ(list.Insert(nullptr), nullptr);
        Item* b = list.Append(new Item(2));
        EXPECT_EQ(list.ByOrdinal(3), nullptr);
        EXPECT_EQ(list.Current(), nullptr);
        // A cursor placed with a wrong index shows where each ordinal walk starts.
        list.SetCursor(a, 2);
        EXPECT_EQ(list.ByOrdinal(2), a);  // not below the index: from the cursor
        EXPECT_EQ(list.ByOrdinal(3), b);
        EXPECT_TRUE(list.ByOrdinal(1) == a && list.Index() == 1);  // below: from the head

        Item* z = list.Insert(new Item(0));  // on the head: becomes the head
        EXPECT_TRUE(list.Head() == z && list.Index() == 1 && a->RefCount() == 2);
        list.ByOrdinal(3);
        list.Insert(new Item(15));
        EXPECT_EQ(list.Index(), 3);
        EXPECT_EQ(Ids(list), (std::vector<long>{0, 1, 15, 2}));

        // Deleting the last: null cursor, index kept, tail on the former second-to-last.
        list.ByOrdinal(4);
        EXPECT_EQ(list.Delete(), nullptr);
        EXPECT_TRUE(list.Index() == 4 && list.Tail()->ID() == 15);
        EXPECT_EQ(Live(), base + 3);
        list.ByOrdinal(2);
        EXPECT_EQ(list.Delete()->ID(), 15);  // the cursor moves to the follower
        EXPECT_TRUE(list.Index() == 2 && list.Head()->RefCount() == 1);
        list.Delete();
        EXPECT_EQ(list.Delete(), nullptr);  // no cursor: nothing
        list.Insert(new Item(20));           // no cursor: appends
        EXPECT_EQ(Ids(list), (std::vector<long>{0, 20}));
        list.First();
        list.Delete();
        list.Delete();
        EXPECT_TRUE(list.Items() == 0 && !list.Head() && !list.Tail());
        list.Append(new Item(30));
    }
    EXPECT_EQ(Live(), base);  // the destructor deletes what is left
}

TEST(CKVList, OwnershipFollowsCountedLinks)
{
    const int base = Live();
    {
        List list;
        Item* a = list.Append(new Item(1));
        Item* b = list.Append(new Item(2));
        Item* c = list.Append(new Item(3));

        // Still linked from outside: unlinked, Unlink() called, not destroyed.
        Item* keeper = new Item(99);
        keeper->SetNext(b);
        list.ByOrdinal(2);
        list.Delete();
        EXPECT_EQ(b->_unlinks, 1);
        EXPECT_TRUE(b->RefCount() == 1 && !b->Next() && !b->Prev());
        EXPECT_EQ(Live(), base + 4);

        b->SetPrev(a);  // overwriting and clearing a link release the old target
        b->SetPrev(c);
        EXPECT_TRUE(a->RefCount() == 1 && c->RefCount() == 2);
        b->SetPrev(nullptr);
        EXPECT_EQ(c->RefCount(), 1);

        // Destroying a free element destroys the chain behind it.
        b->SetNext(new Item(100));
        delete keeper;
        EXPECT_EQ(Live(), base + 2);

        // Append walks from the tail to the true end of a chain linked behind it.
        Item* d = new Item(4);
        d->SetNext(new Item(5));
        list.Append(d);
        list.Append(new Item(6));
        EXPECT_EQ(d->Next()->Next()->Me()->ID(), 6);
        EXPECT_EQ(list.Items(), 4);
    }
    EXPECT_EQ(Live(), base);
}

TEST(CObjectList, SortModesReplaceEqualKeys)
{
    const int base = Live();
    {
        Objects byId(nullptr, 1);
        for (long id : {5, 3, 9})
            byId.Add(new Item(id));
        Item* again = byId.Add(new Item(3));
        EXPECT_TRUE(byId.Head() == again && byId.Index() == 1);
        EXPECT_EQ(Live(), base + 3);  // the first 3 was destroyed
        for (long id : {1, 7, 12, 12})
            byId.Add(new Item(id));
        EXPECT_EQ(Ids(byId), (std::vector<long>{1, 3, 5, 7, 9, 12}));
        EXPECT_EQ(byId.Add(nullptr), nullptr);

        Objects desc(nullptr, 4);
        for (long id : {1, 7, 4, 7})
            desc.Add(new Item(id));
        EXPECT_EQ(Ids(desc), (std::vector<long>{7, 4, 1}));

        Objects byNumber(nullptr, 2);
        for (long id : {1, 2, 3, 4})
            byNumber.Add(new Item(id, id == 1 ? 30 : id == 3 ? 20 : 10));
        EXPECT_EQ(Ids(byNumber), (std::vector<long>{4, 3, 1}));
        EXPECT_TRUE(byNumber.FindByNumber(20)->ID() == 3 && byNumber.Index() == 2);

        Objects byName(nullptr, 3);
        int id = 0;
        for (const char* name : {"pump", "PUMP", "hose", "Tank"})
            byName.Add(new Item(++id, 0, name));
        EXPECT_EQ(Ids(byName), (std::vector<long>{3, 2, 4}));
        EXPECT_TRUE(byName.FindByName(CStr("TANK"))->ID() == 4 && byName.Index() == 3);
        EXPECT_EQ(byName.FindByID(2)->ID(), 2);
        EXPECT_TRUE(!byName.FindByName(CStr("grade")) && !byName.Current());
        EXPECT_TRUE(!byName.FindByID(8) && !byName.FindByNumber(8));

        Objects arrival;
        arrival.Add(new Item(2));
        arrival.Add(new Item(2));
        EXPECT_EQ(Ids(arrival), (std::vector<long>{2, 2}));

        Objects none(nullptr, 5);
        Item loose(1);
        EXPECT_TRUE(!none.Add(&loose) && none.Items() == 0);
    }
    EXPECT_EQ(Live(), base);
}
