// SPDX-License-Identifier: Apache-2.0
#include "include/common/RecordList.h"

namespace {

using pa::RecordFields;

/// The texts of the nodes, in both directions.
std::string textOf(const TEVlist& list) {
    std::string forward;
    std::string backward;
    const auto textAt = [](const TEVnode& node) {
        const char* const text = *static_cast<char* const*>(node.dataPtr);
        return std::string(text == nullptr ? "-" : text) + " ";
    };
    unsigned long count = 0;
    for (const TEVnode* node = list.listTop; node != nullptr; node = node->nextNode, ++count) {
        EXPECT_EQ(node->ourList, &list);
        forward += textAt(*node);
    }
    for (const TEVnode* node = list.listBot; node != nullptr; node = node->prevNode) {
        backward.insert(0, textAt(*node));
    }
    EXPECT_EQ(forward, backward);
    EXPECT_EQ(list.elements, count);
    return forward;
}

TEST(RecordListTest, HoldsOneRecordAfterTheOther) {
    pa::RecordList list;
    EXPECT_EQ(textOf(*list.list()), "");
    const std::pair<RecordFields, const char*> records[] = {
        {{"a", std::nullopt, "", "d"}, "a -  d "},
        {{"one", "two"}, "one two "},
        {{}, ""},
        {{"1", "2", "3"}, "1 2 3 "},
        {RecordFields(4), "- - - - "},
        {RecordFields(6, std::string_view("text\0rest", 9)), "text text text text text text "},
        {{"last"}, "last "},
    };
    for (const auto& [fields, expected] : records) {
        list.assign(fields);
        EXPECT_EQ(textOf(*list.list()), expected);
    }
}

TEST(RecordListTest, HasFieldsThatAreSetInAnyOrder) {
    RecordFields fields(3);
    fields.set(2, "third");
    fields.set(0, "first");
    EXPECT_EQ(fields, (RecordFields{"first", std::nullopt, "third"}));
    fields.set(0, "a longer first");
    fields.set(1, "");
    fields.set(2, std::nullopt);
    EXPECT_EQ(fields, (RecordFields{"a longer first", "", std::nullopt}));
    fields.resize(5);
    fields.push_back("sixth");
    fields.set(0, "1");
    EXPECT_EQ(fields, (RecordFields{"1", "", std::nullopt, std::nullopt, std::nullopt, "sixth"}));
    fields.resize(2);
    fields.push_back("3");
    EXPECT_EQ(fields, (RecordFields{"1", "", "3"}));
    EXPECT_FALSE(fields == (RecordFields{"1", ""}));
    EXPECT_FALSE(fields == (RecordFields{"1", std::nullopt, "3"}));
    EXPECT_EQ(fields.at(2), "3");
    EXPECT_THROW(static_cast<void>(fields.at(3)), std::out_of_range);
    EXPECT_EQ(RecordFields(std::move(fields)).size(), 3U);
    fields.push_back("of an empty record");
    EXPECT_EQ(fields, RecordFields{"of an empty record"});
}

}  // namespace
