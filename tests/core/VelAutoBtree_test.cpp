#include "vel/core/VelAutoBtree.h"

#include <string>

#include "VelTestSupport.h"
#include "vel/core/VelHolder.h"

namespace {

struct Form {
    static int live;
    explicit Form(int v) : value(v) { ++live; }
    ~Form() { --live; }
    int value;
};
int Form::live = 0;

class FormRef : public VelWeakReference<Form> {
public:
    using VelWeakReference::Get;
    using VelWeakReference::IsAlive;
};

using FormHolder = VelHolder<Form, FormRef>;
using Forms = VelAutoBtree<cow_String, FormHolder>;

FormRef Add(Forms& forms, const char* name, int value, bool replace = false) {
    FormHolder holder = FormHolder::Create(value);
    FormRef ref = holder.Get();
    forms.Insert(name, holder, replace);
    EXPECT_FALSE(holder);
    return ref;
}

TEST(VelAutoBtreeTest, TheMapOwnsItsHolders) {
    {
        Forms forms;
        FormRef a = Add(forms, "a", 1);
        FormRef b = Add(forms, "b", 2);
        Add(forms, "c", 3);
        Add(forms, "d", 4);
        EXPECT_EQ(forms.Count(), 4);
        EXPECT_EQ(Form::live, 4);
        EXPECT_EQ(forms.Root()->Key(), cow_String("b"));
        EXPECT_EQ(forms.Get("c")->value, 3);
        EXPECT_EQ(forms.Find("a")->Get().Get(), a.Get());
        EXPECT_EQ(forms.Find("e"), nullptr);
        VelAutoBtreeIterator<cow_String, FormHolder> it(forms);
        std::string walked;
        for (it.Last(); !it.IsDone(); it.Previous()) {
            walked += it.CurrentKey().str() + std::to_string(it.CurrentValue()->value);
        }
        EXPECT_EQ(walked, "d4c3b2a1");

        // Refused without replace: the new holder dies, the stored one stays.
        FormRef refused = Add(forms, "a", 10);
        EXPECT_FALSE(refused.IsAlive());
        EXPECT_TRUE(a.IsAlive());
        EXPECT_EQ(forms.Get("a")->value, 1);

        // Replaced: the old holder dies first, ending its object's life.
        FormRef replacement = Add(forms, "a", 11, true);
        EXPECT_FALSE(a.IsAlive());
        EXPECT_TRUE(replacement.IsAlive());
        EXPECT_EQ(forms.Get("a")->value, 11);
        EXPECT_EQ(forms.Count(), 4);
        EXPECT_EQ(Form::live, 4);

        EXPECT_TRUE(forms.Remove("b"));
        EXPECT_FALSE(b.IsAlive());
        EXPECT_FALSE(forms.Remove("b"));
        EXPECT_EQ(Form::live, 3);

        Forms other;
        FormRef x = Add(other, "x", 24);
        forms.Swap(other);
        EXPECT_EQ(forms.Count(), 1);
        EXPECT_EQ(other.Count(), 3);
        other.Clear();
        EXPECT_FALSE(replacement.IsAlive());
        EXPECT_EQ(Form::live, 1);
        EXPECT_TRUE(x.IsAlive());
    }
    EXPECT_EQ(Form::live, 0);
}

}  // namespace
