#include "AlarmJsonObject.h"

#include <gtest/gtest.h>
#include <json-glib/json-glib.h>

// JSON-GLib tells nobody how many references an object has. The linker gives each call of the
// library that takes or gives back one to the counters below.

namespace {
int taken = 0;
int givenBack = 0;
} // namespace

// NOLINTBEGIN(bugprone-reserved-identifier)
extern "C" {
JsonObject* __real_json_object_ref(JsonObject* object);
void __real_json_object_unref(JsonObject* object);

JsonObject* __wrap_json_object_ref(JsonObject* object)
{
    ++taken;
    return __real_json_object_ref(object);
}

void __wrap_json_object_unref(JsonObject* object)
{
    ++givenBack;
    __real_json_object_unref(object);
}
}
// NOLINTEND(bugprone-reserved-identifier)

namespace {
class AlarmJsonObjectReferencesTest : public testing::Test {
protected:
    AlarmJsonObjectReferencesTest() { forget(); }

    ~AlarmJsonObjectReferencesTest() override
    {
        __real_json_object_unref(first);
        __real_json_object_unref(second);
    }

    static void forget()
    {
        taken = 0;
        givenBack = 0;
    }

    static void expectCalls(int refs, int unrefs)
    {
        EXPECT_EQ(refs, taken);
        EXPECT_EQ(unrefs, givenBack);
        forget();
    }

    JsonObject* first = json_object_new();
    JsonObject* second = json_object_new();
};
} // namespace

TEST_F(AlarmJsonObjectReferencesTest, NothingHeldNeedsNone)
{
    {
        const AlarmJsonObject empty;
        const AlarmJsonObject copied(empty); // NOLINT(performance-unnecessary-copy-initialization)
        AlarmJsonObject assigned;
        assigned = empty;
        assigned.copy(empty);
        assigned.setJsonObject(nullptr);
    }
    expectCalls(0, 0);
}

TEST_F(AlarmJsonObjectReferencesTest, TheCallerKeepsItsOwnReference)
{
    {
        AlarmJsonObject object;
        object.setJsonObject(first);
        EXPECT_EQ(first, object.getJsonObject());
        expectCalls(1, 0);
    }
    expectCalls(0, 1);
    EXPECT_EQ(0u, json_object_get_size(first));
}

TEST_F(AlarmJsonObjectReferencesTest, AnotherObjectReplacesTheHeldOne)
{
    AlarmJsonObject object;
    object.setJsonObject(first);
    forget();

    object.setJsonObject(second);

    expectCalls(1, 1);
    EXPECT_EQ(second, object.getJsonObject());

    object.setJsonObject(nullptr);

    expectCalls(0, 1);
    EXPECT_EQ(nullptr, object.getJsonObject());
}

TEST_F(AlarmJsonObjectReferencesTest, TheHeldObjectMayBeGivenAgain)
{
    JsonObject* own = json_object_new();
    AlarmJsonObject object;
    object.setJsonObject(own);
    __real_json_object_unref(own);

    object.setJsonObject(object.getJsonObject());

    EXPECT_EQ(0u, json_object_get_size(object.getJsonObject()));
}

TEST_F(AlarmJsonObjectReferencesTest, ACopyTakesOne)
{
    AlarmJsonObject object;
    object.setJsonObject(first);
    forget();
    {
        const AlarmJsonObject copied(object); // NOLINT(performance-unnecessary-copy-initialization)
        EXPECT_EQ(first, copied.getJsonObject());
        expectCalls(1, 0);
    }
    expectCalls(0, 1);
}

TEST_F(AlarmJsonObjectReferencesTest, AnAssignmentKeepsTheOldObjectAlive)
{
    {
        AlarmJsonObject a;
        AlarmJsonObject b;
        a.setJsonObject(first);
        b.setJsonObject(second);
        forget();

        a = b;

        expectCalls(1, 0);
        EXPECT_EQ(second, a.getJsonObject());
        a.addIntegerMember("n", 7);
        EXPECT_TRUE(b.hasMember("n"));
    }
    expectCalls(0, 2);

    // The reference that nobody holds is still there.
    __real_json_object_unref(first);
    EXPECT_EQ(0u, json_object_get_size(first));
}

TEST_F(AlarmJsonObjectReferencesTest, CopyIsTheSameAsAnAssignment)
{
    {
        AlarmJsonObject a;
        AlarmJsonObject b;
        a.setJsonObject(first);
        b.setJsonObject(second);
        forget();

        a.copy(b);

        expectCalls(1, 0);
        EXPECT_EQ(second, a.getJsonObject());
    }
    expectCalls(0, 2);
    __real_json_object_unref(first);
    EXPECT_EQ(0u, json_object_get_size(first));
}

TEST_F(AlarmJsonObjectReferencesTest, AnEmptyOneMayBeAssigned)
{
    AlarmJsonObject a;
    a.setJsonObject(first);
    forget();

    a = AlarmJsonObject();

    expectCalls(0, 0);
    EXPECT_EQ(nullptr, a.getJsonObject());
    __real_json_object_unref(first);
}

TEST_F(AlarmJsonObjectReferencesTest, AnAssignmentToItselfDoesNothing)
{
    AlarmJsonObject object;
    object.setJsonObject(first);
    const AlarmJsonObject& same = object;
    forget();

    object = same;
    object.copy(same);

    expectCalls(0, 0);
    EXPECT_EQ(first, object.getJsonObject());
}

TEST_F(AlarmJsonObjectReferencesTest, AMemberIsSharedWithItsHolder)
{
    AlarmJsonObject outer;
    outer.setJsonObject(first);
    {
        AlarmJsonObject inner;
        inner.setJsonObject(second);
        forget();
        outer.addObjectMember("inner", inner);
        expectCalls(1, 0);
    }
    expectCalls(0, 1);
    AlarmJsonObject again;
    outer.getObjectValue("inner", again);
    EXPECT_EQ(second, again.getJsonObject());
    expectCalls(1, 0);
}

TEST_F(AlarmJsonObjectReferencesTest, AnArraySharesItsElements)
{
    AlarmJsonObject outer;
    outer.setJsonObject(first);
    {
        AlarmJsonObject element;
        element.setJsonObject(second);
        const std::list<AlarmJsonObject> list{ element, element };
        forget();
        outer.addArrayMember("list", list);
        expectCalls(2, 0);
    }
    forget();
    {
        std::list<AlarmJsonObject> again;
        outer.getArrayObject("list", again);
        ASSERT_EQ(2u, again.size());
        EXPECT_EQ(second, again.front().getJsonObject());
        EXPECT_EQ(second, again.back().getJsonObject());
    }
    EXPECT_EQ(taken, givenBack);
}

TEST_F(AlarmJsonObjectReferencesTest, TheMessageKeepsNone)
{
    AlarmJsonObject object;
    object.setJsonObject(first);
    forget();

    std::string text;
    object.getJsonMessage(text);

    expectCalls(0, 0);
    EXPECT_EQ("{}", text);
}
