#include "vel/core/VelHolder.h"

#include "VelTestSupport.h"
#include "vel/core/VelAssert.h"
#include "vel/core/VelAutoPtr.h"

namespace {

struct Widget {
    static int live;
    explicit Widget(int v = 0) : value(v) { ++live; }
    virtual ~Widget() { --live; }
    int value;
};
int Widget::live = 0;

// An interface class as the type system builds them: an observer whose operations check first
// that the representation still exists.
class WidgetRef : public VelWeakReference<Widget> {
public:
    using VelWeakReference::Get;
    using VelWeakReference::IsAlive;
    using VelWeakReference::ObserverCount;

    int Value() const {
        Widget* repr = Get();
        VelASSERT(repr);
        return repr->value;
    }
};

using WidgetHolder = VelHolder<Widget, WidgetRef>;

TEST(VelHolderTest, ObserversOutliveTheirHolder) {
    WidgetRef survivor;
    {
        WidgetHolder holder = WidgetHolder::Create(7);
        WidgetRef first = holder.Get();
        EXPECT_TRUE(first.IsAlive());
        EXPECT_EQ(first.Get(), holder.GetRepr());
        EXPECT_EQ(first.Value(), 7);
        EXPECT_EQ(first.ObserverCount(), 1);
        {
            WidgetRef second(first);
            WidgetRef third;
            third = second;
            EXPECT_EQ(first.ObserverCount(), 3);
            third = third;
            EXPECT_EQ(first.ObserverCount(), 3);
        }
        EXPECT_EQ(first.ObserverCount(), 1);
        survivor = first;
        EXPECT_EQ(survivor.ObserverCount(), 2);
    }
    // The holder died with an observer left: the object is gone, the record stays until the
    // last observer lets go (ASan reports it if it is freed early or never).
    EXPECT_EQ(Widget::live, 0);
    EXPECT_FALSE(survivor.IsAlive());
    EXPECT_EQ(survivor.Get(), nullptr);
    EXPECT_EQ(survivor.ObserverCount(), 1);
    WidgetRef late(survivor);
    survivor = WidgetRef();
    EXPECT_FALSE(late.IsAlive());
    EXPECT_EQ(late.ObserverCount(), 1);
    // The last observer of a dead object assigned to itself must not free the record first.
    late = late;
    EXPECT_EQ(late.ObserverCount(), 1);
}

TEST(VelHolderDeathTest, UsingAnObserverAfterItsHolderDiedStops) {
    WidgetRef orphan;
    {
        WidgetHolder holder = WidgetHolder::Create(1);
        orphan = holder.Get();
    }
    ExpectAssertFailure(orphan.Value(), "repr");
}

TEST(VelHolderTest, OwnershipMovesAndObserversFollowTheObject) {
    // Empty holders have no record to observe.
    const WidgetRef none = WidgetHolder(nullptr).Get();
    EXPECT_FALSE(WidgetHolder());
    EXPECT_FALSE(none.IsAlive());
    EXPECT_EQ(none.ObserverCount(), 0);

    WidgetHolder source = WidgetHolder::Create(3);
    WidgetRef ref = source.Get();
    WidgetHolder target(source);
    EXPECT_FALSE(source);
    EXPECT_EQ(source.Get().Get(), nullptr);
    ASSERT_TRUE(target);
    EXPECT_TRUE(ref.IsAlive());
    EXPECT_EQ(target.Get().Value(), 3);
    EXPECT_EQ(Widget::live, 1);

    // Assignment destroys what the target held, which kills that object's observers.
    WidgetHolder other = WidgetHolder::Create(4);
    WidgetRef otherRef = other.Get();
    target = other;
    EXPECT_FALSE(ref.IsAlive());
    EXPECT_TRUE(otherRef.IsAlive());
    EXPECT_EQ(target->value, 4);
    target = target;
    EXPECT_EQ(target->value, 4);
    EXPECT_EQ(Widget::live, 1);
}

struct Tagged {
    virtual ~Tagged() = default;
    int tag = 9;
};
// The Widget part is not at the start of a Gadget, so deleting through Widget* must find the
// start of the block.
struct Gadget : Tagged, Widget {
    explicit Gadget(int v) : Widget(v) {}
};

TEST(VelHolderTest, HolderOfADerivedObjectBecomesHolderOfItsBase) {
    VelHolder<Gadget, WidgetRef> derived = VelHolder<Gadget, WidgetRef>::Create(5);
    WidgetRef ref = derived.Get();
    WidgetHolder base(derived);
    EXPECT_FALSE(derived);
    EXPECT_NE(static_cast<void*>(base.GetRepr()), dynamic_cast<void*>(base.GetRepr()));
    EXPECT_EQ(ref.Value(), 5);
    base = WidgetHolder();
    EXPECT_FALSE(ref.IsAlive());
    EXPECT_EQ(Widget::live, 0);
}

TEST(VelAutoPtrTest, SingleOwnerDeletesOnce) {
    using Owner = VelAutoPtr<Widget>;
    {
        Owner first(new (mem_Malloc(sizeof(Gadget))) Gadget(8));
        Owner second(first);
        EXPECT_EQ(first.Get(), nullptr);
        EXPECT_EQ(second->value, 8);
        Owner third;
        third = second;
        EXPECT_FALSE(second);
        EXPECT_EQ(Widget::live, 1);
        third.Reset(new (mem_Malloc(sizeof(Widget))) Widget(1));
        EXPECT_EQ(Widget::live, 1);
        EXPECT_EQ((*third).value, 1);
        Widget* loose = third.Release();
        EXPECT_FALSE(third);
        VelAutoPtrObjectOutline<Widget>::Delete(loose);
        VelAutoPtrObjectOutline<Widget>::Delete(nullptr);
        EXPECT_EQ(Widget::live, 0);
        Owner last(new (mem_Malloc(sizeof(Widget))) Widget(2));
    }
    EXPECT_EQ(Widget::live, 0);
}

}  // namespace
