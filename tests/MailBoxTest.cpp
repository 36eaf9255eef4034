// SPDX-License-Identifier: MIT
#include "device/MailBoxEntry.h"

#include "device/GatecastConversation.h"
#include "support/Phone.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdlib>
#include <locale>
#include <string>
#include <type_traits>
#include <utility>
#include <vector>

using json::Variant;
using qx::MailBoxEntry;
using test::Phone;
using test::sorted_text;
using testing::ElementsAre;
using testing::IsEmpty;

static_assert(std::has_virtual_destructor_v<MailBoxEntry>);
static_assert(std::is_copy_constructible_v<MailBoxEntry>);
static_assert(std::is_copy_assignable_v<MailBoxEntry>);
static_assert(!std::is_convertible_v<Variant, MailBoxEntry>, "a row is made an entry on purpose");
static_assert(std::is_same_v<unsigned int, decltype(std::declval<MailBoxEntry>().sequenceNo())>);
static_assert(std::is_same_v<unsigned int, decltype(std::declval<MailBoxEntry>().eventIndex())>);
static_assert(std::is_same_v<std::int64_t, decltype(std::declval<MailBoxEntry>().recordId())>);

namespace {

Variant value_of(const std::string& text) { return json::JsonParser::parseTree(text); }

/// An entry with the text as its record, as it stands.
MailBoxEntry raw_entry(const std::string& text) {
    MailBoxEntry entry;
    entry.record() = value_of(text);
    return entry;
}

/// An entry of one camera whose sequence number is `number`.
MailBoxEntry numbered(int number) {
    return raw_entry(R"({"appl_sequence_no":)" + std::to_string(number) + "}");
}

std::vector<unsigned int> numbers_in(const std::vector<MailBoxEntry>& queue) {
    std::vector<unsigned int> numbers;
    for (const MailBoxEntry& entry : queue) {
        numbers.push_back(entry.sequenceNo());
    }
    return numbers;
}

/// The text by which the device is asked to play an entry of that timestamp.
std::string played_position(Variant timestamp) {
    Phone phone;
    phone.playbackMode = 2;
    Variant row;
    row["timestamp"] = std::move(timestamp);
    row["appl_sequence_no"] = 17;
    row["appl_event_index"] = 3;
    phone.play(MailBoxEntry(row), false, false);
    return value_of(phone.sent.back())["params"][0].charsValue();
}

/// Groups digits by dots and separates decimals by a comma.
struct GroupedNumbers : std::numpunct<char> {
    char do_decimal_point() const override { return ','; }
    char do_thousands_sep() const override { return '.'; }
    std::string do_grouping() const override { return "\3"; }
};

/// Makes the numbers above the global locale of C++ streams, for the length of a test.
class GroupedGlobalLocale {
public:
    GroupedGlobalLocale()
        : old_(std::locale::global(std::locale(std::locale::classic(), new GroupedNumbers))) {}
    ~GroupedGlobalLocale() { std::locale::global(old_); }
    GroupedGlobalLocale(const GroupedGlobalLocale&) = delete;
    GroupedGlobalLocale& operator=(const GroupedGlobalLocale&) = delete;

private:
    std::locale old_;
};

} // namespace

// ----- The record --------------------------------------------------------------------------------

TEST(MailBoxEntry, BeginsAsAnObjectWithATimestamp) {
    const MailBoxEntry entry;
    EXPECT_EQ(R"({"timestamp":0.0})", sorted_text(entry.record()));
    EXPECT_EQ("", std::string(entry.cameraId()));
    EXPECT_EQ(0u, entry.sequenceNo());
    EXPECT_EQ(0u, entry.eventIndex());
    EXPECT_EQ(0, entry.recordId());
    EXPECT_EQ(0.0, entry.timestamp());
    EXPECT_EQ("", std::string(entry.endFilter()));
}

TEST(MailBoxEntry, ReadsEachOfItsMembers) {
    const MailBoxEntry entry =
        raw_entry(R"({"appl_camera_id":"front","appl_sequence_no":17,"appl_event_index":4,)"
                  R"("rid":9007199254740993,"timestamp":1234.5,"endfilter":"VA,EFTS"})");
    EXPECT_EQ("front", std::string(entry.cameraId()));
    EXPECT_EQ(17u, entry.sequenceNo());
    EXPECT_EQ(4u, entry.eventIndex());
    EXPECT_EQ(9007199254740993, entry.recordId());
    EXPECT_EQ(1234.5, entry.timestamp());
    EXPECT_EQ("VA,EFTS", std::string(entry.endFilter()));
}

TEST(MailBoxEntry, ConvertsMembersOfAnotherType) {
    const MailBoxEntry entry =
        raw_entry(R"({"appl_camera_id":7,"appl_sequence_no":"17 of 20","appl_event_index":4.9,)"
                  R"("rid":"123.456","timestamp":"1.5","endfilter":[1]})");
    EXPECT_EQ("7", std::string(entry.cameraId()));
    EXPECT_EQ(17u, entry.sequenceNo());
    EXPECT_EQ(4u, entry.eventIndex());
    EXPECT_EQ(123, entry.recordId()) << "read as one integer";
    EXPECT_EQ(1.5, entry.timestamp());
    EXPECT_EQ("[1]", std::string(entry.endFilter()));
}

TEST(MailBoxEntry, CutsItsNumbersTo32Bits) {
    const MailBoxEntry entry =
        raw_entry(R"({"appl_sequence_no":4294967297,"appl_event_index":-1})");
    EXPECT_EQ(1u, entry.sequenceNo());
    EXPECT_EQ(4294967295u, entry.eventIndex());
}

TEST(MailBoxEntry, ReadsNothingFromARecordThatIsNoObject) {
    for (const char* text : {"null", "7", "\"appl_camera_id\"", "[1,2]"}) {
        const MailBoxEntry entry = raw_entry(text);
        EXPECT_EQ("", std::string(entry.cameraId())) << text;
        EXPECT_EQ(0u, entry.sequenceNo()) << text;
        EXPECT_EQ(0u, entry.eventIndex()) << text;
        EXPECT_EQ(0, entry.recordId()) << text;
        EXPECT_EQ(0.0, entry.timestamp()) << text;
        EXPECT_EQ("", std::string(entry.endFilter())) << text;
        EXPECT_EQ(text, sorted_text(entry.record())) << text;
    }
}

TEST(MailBoxEntry, KeepsTheWholeRecordForTheApplication) {
    const char* const row =
        R"({"events":[1],"length_ds":20,"mailbox_id":3,"message_seen":true,"name_mailbox":"Hall",)"
        R"("name_sender":"Door","sender_user_id":5,"timestamp":1.5})";
    const MailBoxEntry entry(value_of(row));
    EXPECT_EQ(row, sorted_text(entry.record()));
    EXPECT_EQ("Door", entry.record()[*MailBoxEntry::keys().senderName]);
}

TEST(MailBoxEntry, PoolsItsKeys) {
    const MailBoxEntry::Keys& keys = MailBoxEntry::keys();
    const struct {
        const char* text;
        const boost::intrusive_ptr<qx::IntrusiveString>& key;
    } rows[] = {
        {"mailbox_id", keys.mailBoxId},        {"name_mailbox", keys.mailBoxName},
        {"sender_user_id", keys.senderUserId}, {"name_sender", keys.senderName},
        {"timestamp", keys.timestamp},         {"length_ds", keys.length},
        {"appl_camera_id", keys.cameraId},     {"appl_sequence_no", keys.sequenceNo},
        {"appl_event_index", keys.eventIndex}, {"rid", keys.recordId},
        {"alarmimage", keys.alarmImage},       {"events", keys.events},
        {"message_seen", keys.messageSeen},    {"endfilter", keys.endFilter},
    };
    for (const auto& row : rows) {
        EXPECT_EQ(json::Object::key_pool().intern(row.text), row.key) << row.text;
    }
}

TEST(MailBoxEntry, SharesItsRecordWithItsCopies) {
    const MailBoxEntry entry = raw_entry(R"({"rid":7})");
    const MailBoxEntry copy = entry;
    MailBoxEntry assigned;
    assigned = entry;
    EXPECT_EQ(&entry.record().objectValue(), &copy.record().objectValue());
    EXPECT_EQ(&entry.record().objectValue(), &assigned.record().objectValue());
}

// A normalised record is edited in place, a copy of it isn't.
TEST(MailBoxEntry, ShowsAChangeOfTheSourceInItsCopies) {
    MailBoxEntry entry(value_of(R"({"rid":7})"));
    MailBoxEntry copy = entry;
    entry.record()["rid"] = 8;
    EXPECT_EQ(8, copy.recordId());
    copy.record()["rid"] = 9;
    EXPECT_EQ(9, copy.recordId());
    EXPECT_EQ(8, entry.recordId());
}

// A row that stands in a list is changed in its place: a shared one would show that.
TEST(MailBoxEntry, CopiesItsRowAtEveryDepth) {
    Variant rows = value_of(R"([{"alarmimage":"12.5","events":[{"kind":"ring"}]}])");
    rows[0]["events"][0]["kind"] = "bell";
    MailBoxEntry entry(rows[0]);
    rows[0]["events"][0]["kind"] = "motion";
    EXPECT_EQ(R"([{"alarmimage":"12.5","events":[{"kind":"motion"}]}])", sorted_text(rows));
    EXPECT_EQ(R"({"alarmimage":"12.5","appl_event_index":0,"appl_sequence_no":12,)"
              R"("events":[{"kind":"bell"}],"timestamp":0.0})",
              sorted_text(entry.record()));
    entry.record()["events"][0]["kind"] = "alarm";
    EXPECT_EQ(R"([{"alarmimage":"12.5","events":[{"kind":"motion"}]}])", sorted_text(rows));
}

TEST(MailBoxEntry, LeavesTheListThatItsRowStandsInAsItIs) {
    Variant rows = value_of(R"([{"alarmimage":"12"}])");
    rows.listValue() << Variant(); // bound from here on, as the rows of a result are
    const json::List& list = std::as_const(rows).listValue();
    const MailBoxEntry entry(list[0]);
    EXPECT_EQ(12u, entry.sequenceNo());
    EXPECT_EQ(R"([{"alarmimage":"12"},null])", sorted_text(rows));
}

TEST(MailBoxEntry, StandsADeeplyNestedRow) {
    constexpr int depth = 50000;
    const std::string nested = std::string(depth, '[') + std::string(depth, ']');
    for (const char* const key : {"events", "alarmimage", "timestamp", "appl_camera_id", "rid",
                                  "appl_sequence_no", "endfilter"}) {
        const MailBoxEntry entry(value_of("{\"" + std::string(key) + "\":" + nested + "}"));
        const MailBoxEntry copy(entry.record());
        EXPECT_TRUE(entry == copy) << key;
        EXPECT_EQ(0u, entry.sequenceNo()) << key;
        EXPECT_EQ(0.0, entry.timestamp()) << key;
        EXPECT_EQ(std::string(key) == "endfilter", !entry.endFilter().empty()) << key;
    }
}

// ----- Normalising -------------------------------------------------------------------------------

TEST(MailBoxEntry, TakesTheSequenceNumberFromTheDigitsOfTheAlarmImage) {
    const struct {
        const char* image;
        const char* sequenceNo;
    } rows[] = {
        {R"("123")", "123"},
        {R"("123.456")", "123"},
        {R"("123.456.789")", "123"},
        {R"("  42x")", "42"},
        {R"("-5.1")", "-5"},
        {R"("E123.4")", "0"},
        {R"("")", "0"},
        {R"(".7")", "0"},
        {R"("99999999999999999999.1")", "9223372036854775807"},
        {R"("12\u000034")", "12"},
        {R"(77.5)", "77"},
        {R"(1e300)", "1"},
        {R"(true)", "0"},
        {R"([5])", "0"},
        {R"(null)", "0"},
    };
    for (const auto& row : rows) {
        const MailBoxEntry entry(value_of(std::string(R"({"alarmimage":)") + row.image + "}"));
        EXPECT_EQ(row.sequenceNo, sorted_text(entry.record()["appl_sequence_no"])) << row.image;
        EXPECT_TRUE(entry.record()["appl_sequence_no"].isInteger()) << row.image;
    }
}

// Reading the number behind the point would be the evident repair; devices and applications know
// such messages by the index 0.
TEST(MailBoxEntry, TheEventIndexIsZeroWhateverStandsBehindTheLastPoint) {
    for (const char* image : {"123.456", "123", "123.", "1.2.3", "x.9", ""}) {
        Variant row;
        row["alarmimage"] = image;
        row["appl_event_index"] = 9;
        const MailBoxEntry entry(row);
        EXPECT_EQ(0u, entry.eventIndex()) << image;
        EXPECT_EQ("0", sorted_text(entry.record()["appl_event_index"])) << image;
    }
}

TEST(MailBoxEntry, KeepsItsNumbersWithoutAnAlarmImage) {
    const MailBoxEntry entry(value_of(R"({"appl_sequence_no":5,"appl_event_index":6})"));
    EXPECT_EQ(5u, entry.sequenceNo());
    EXPECT_EQ(6u, entry.eventIndex());
}

TEST(MailBoxEntry, MakesItsTimestampAReal) {
    const struct {
        const char* row;
        const char* record;
    } rows[] = {
        {R"({})", R"({"timestamp":0.0})"},
        {R"({"timestamp":12})", R"({"timestamp":12.0})"},
        {R"({"timestamp":"12.5 s"})", R"({"timestamp":12.5})"},
        {R"({"timestamp":null})", R"({"timestamp":0.0})"},
        {R"({"timestamp":[1]})", R"({"timestamp":0.0})"},
        {R"([{"alarmimage":"12"}])", R"({"timestamp":0.0})"},
        {R"("alarmimage")", R"({"timestamp":0.0})"},
        {R"(null)", R"({"timestamp":0.0})"},
    };
    for (const auto& row : rows) {
        const MailBoxEntry entry(value_of(row.row));
        EXPECT_EQ(row.record, sorted_text(entry.record())) << row.row;
        EXPECT_TRUE(entry.record()["timestamp"].isReal()) << row.row;
    }
}

TEST(MailBoxEntry, CanBeNormalisedAgainAfterAChange) {
    MailBoxEntry entry;
    entry.record() = value_of(R"({"alarmimage":"31.2","timestamp":8})");
    entry.normalise();
    EXPECT_EQ(R"({"alarmimage":"31.2","appl_event_index":0,"appl_sequence_no":31,"timestamp":8.0})",
              sorted_text(entry.record()));
}

TEST(MailBoxEntry, NamesTheSchemaOfItsRecord) {
    EXPECT_STREQ("http://schemas.gatecast.example/mail/list.json#entry", MailBoxEntry::schemaUrl());
}

// In a process of its own, since the registry forgets nothing.
TEST(MailBoxEntry, IsBoundToItsSchemaOnceThatIsRegistered) {
    EXPECT_EXIT(
        {
            const boost::intrusive_ptr<json::Schema> schema(new json::Schema);
            json::Schema::import(MailBoxEntry::schemaUrl(), schema);
            const MailBoxEntry entry(value_of(R"({"rid":7})"));
            std::_Exit(&entry.record().schema() == schema.get() ? 0 : 1);
        },
        testing::ExitedWithCode(0), "");
}

TEST(MailBoxEntry, HasNoSchemaWhenNoneIsRegistered) {
    EXPECT_EQ(&json::Schema::Empty, &MailBoxEntry().record().schema());
}

// ----- Equality ----------------------------------------------------------------------------------

TEST(MailBoxEntry, EqualsAnotherByRecordIdOrByNumbers) {
    const struct {
        const char* left;
        const char* right;
        bool equal;
        const char* why;
    } rows[] = {
        {R"({})", R"({})", true, "blank ones"},
        {R"({"appl_camera_id":"a","rid":1,"appl_sequence_no":1})",
         R"({"appl_camera_id":"a","rid":1,"appl_sequence_no":2,"appl_event_index":3})", true,
         "the record id decides"},
        {R"({"appl_camera_id":"a","rid":1})", R"({"appl_camera_id":"b","rid":1})", false,
         "another camera"},
        {R"({"rid":1,"appl_sequence_no":5})", R"({"rid":2,"appl_sequence_no":5})", false,
         "another record"},
        {R"({"rid":0})", R"({"appl_sequence_no":5})", true, "a missing record id is 0"},
        {R"({"appl_sequence_no":5})", R"({"rid":0})", false, "the left one decides: by numbers"},
        {R"({"appl_sequence_no":5})", R"({"rid":9,"appl_sequence_no":5})", true,
         "the left one has no record id"},
        {R"({"rid":9,"appl_sequence_no":5})", R"({"appl_sequence_no":5})", false,
         "the left one has one"},
        {R"({"appl_sequence_no":5,"appl_event_index":1})",
         R"({"appl_sequence_no":5,"appl_event_index":2})", false, "another event"},
        {R"({"appl_camera_id":"a","appl_sequence_no":5})",
         R"({"appl_camera_id":"b","appl_sequence_no":5})", false, "another camera, by numbers"},
        {R"({"appl_sequence_no":5,"timestamp":1.0})", R"({"appl_sequence_no":5,"timestamp":2.0})",
         true, "the time plays no part"},
        {R"({"appl_sequence_no":5})", R"({"appl_sequence_no":4294967301})", true,
         "as cut to 32 bits"},
        {R"([])", R"({})", true, "no object has no members"},
        {R"({"rid":null})", R"({"rid":0})", true, "present, whatever it holds"},
    };
    for (const auto& row : rows) {
        const MailBoxEntry left = raw_entry(row.left);
        const MailBoxEntry right = raw_entry(row.right);
        EXPECT_EQ(row.equal, left == right) << row.why;
        EXPECT_EQ(!row.equal, left != right) << row.why;
    }
}

// ----- Listing -----------------------------------------------------------------------------------

TEST(MailBox, IsAskedForByANumber) {
    const struct {
        const char* name;
        const char* params;
    } rows[] = {{"3", "[3]"}, {"12 of 20", "[12]"}, {"all", "[0]"}, {"", "[0]"}, {"-1", "[-1]"}};
    for (const auto& row : rows) {
        Phone phone;
        phone.readMailBox(row.name);
        EXPECT_EQ(std::string(R"({"id":104,"method":"mailboxdata","params":)") + row.params + "}",
                  phone.sentText(0))
            << row.name;
    }
}

TEST(MailBox, ArrivesInBatchesCountedFromOne) {
    Phone phone;
    phone.readMailBox("1");
    phone.receive(R"({"result":[{"rid":1},{"rid":2}],"id":104})");
    EXPECT_EQ(0u, phone.pendingRequests.count(104)) << "the request isn't kept";
    phone.receive(R"({"result":[{"rid":3}],"id":104})");
    phone.receive(R"({"result":[],"id":104})");
    EXPECT_THAT(phone.told, ElementsAre(R"(mailBoxData(1, [{"rid":1},{"rid":2}]))",
                                        R"(mailBoxData(2, [{"rid":3}]))", "mailBoxData(3, [])"));
    EXPECT_EQ(3, phone.mailBoxBatch);
}

TEST(MailBox, CountsItsBatchesAnewWhenItIsReadAgain) {
    Phone phone;
    phone.mailBoxBatch = 7;
    phone.readMailBox("1");
    EXPECT_EQ(0, phone.mailBoxBatch);
    phone.receive(R"({"result":[],"id":104})");
    EXPECT_THAT(phone.told, ElementsAre("mailBoxData(1, [])"));
}

TEST(MailBox, BeginsItsCountBeforeTheRequestLeaves) {
    Phone phone;
    phone.mailBoxBatch = 7;
    phone.whenSent = [&](const std::string&) { phone.receive(R"({"result":[],"id":104})"); };
    phone.readMailBox("1");
    EXPECT_THAT(phone.told, ElementsAre("mailBoxData(1, [])"));
    EXPECT_EQ(1, phone.mailBoxBatch);
}

TEST(MailBox, TakesAnErrorForAnEmptyBatch) {
    Phone phone;
    phone.receive(R"({"result":null,"error":[5,"no"],"id":104})");
    phone.receive(R"({"result":"text","id":104})");
    phone.receive(R"({"result":[1],"error":[5,"no"],"id":104})");
    EXPECT_THAT(phone.told,
                ElementsAre("mailBoxData(1, [])", "mailBoxData(2, [])", "mailBoxData(3, [1])"));
}

TEST(MailBox, CountsAroundTheEndOfItsRange) {
    Phone phone;
    phone.mailBoxBatch = 2147483647;
    phone.receive(R"({"result":[],"id":104})");
    EXPECT_THAT(phone.told, ElementsAre("mailBoxData(-2147483648, [])"));
}

// ----- Playing -----------------------------------------------------------------------------------

TEST(MailBox, PlaysAMessageByItsPosition) {
    Phone phone;
    phone.playbackMode = 2;
    phone.play(MailBoxEntry(value_of(R"({"timestamp":1.5,"appl_sequence_no":17,)"
                                     R"("appl_event_index":2,"endfilter":"VA"})")),
               false, false);
    EXPECT_THAT(phone.takeSent(),
                ElementsAre(R"({"method":"endfilter","params":["VA"]})",
                            R"({"id":1001,"method":"play","params":["1.5@17E2"]})"));
    EXPECT_EQ(17u, phone.currentEntry.sequenceNo());
    EXPECT_EQ(2, phone.playbackMode) << "the answer changes it";
}

// What an answer from inside sets, as a live view would, is overwritten by the message.
TEST(MailBox, NotesTheMessageWhenItsRequestHasLeft) {
    Phone phone;
    phone.playbackMode = 2;
    phone.currentEntry = numbered(1);
    std::vector<unsigned int> seen;
    phone.whenSent = [&](const std::string&) { seen.push_back(phone.currentEntry.sequenceNo()); };
    phone.play(numbered(2), false, false);
    EXPECT_THAT(seen, ElementsAre(1u, 1u));
    EXPECT_EQ(2u, phone.currentEntry.sequenceNo());
}

TEST(MailBox, QueuesAMessageByThePlaybackMode) {
    const struct {
        std::int32_t mode;
        bool queueWhilePlaying;
        bool queued;
    } rows[] = {
        {0, false, true},  {0, true, true},    {1, false, true},   {1, true, true},
        {2, false, false}, {2, true, false},   {3, true, false},   {4, false, false},
        {4, true, true},   {5, true, false},   {18, true, false},  {20, false, false},
        {20, true, true},  {34, true, false},  {36, true, false},  {50, true, false},
        {52, true, false}, {-1, false, false}, {-4, true, false},  {16, true, false},
        {17, true, false}, {32, true, false},  {33, false, false}, {48, true, false},
    };
    for (const auto& row : rows) {
        for (const bool unused : {false, true}) {
            Phone phone;
            phone.playbackMode = row.mode;
            phone.play(numbered(17), row.queueWhilePlaying, unused);
            EXPECT_EQ(row.queued ? 0u : 2u, phone.sent.size())
                << row.mode << ' ' << row.queueWhilePlaying;
            EXPECT_EQ(row.queued ? 1u : 0u, phone.playQueue.size())
                << row.mode << ' ' << row.queueWhilePlaying;
            EXPECT_EQ(row.queued ? 0u : 17u, phone.currentEntry.sequenceNo())
                << row.mode << ' ' << row.queueWhilePlaying;
            EXPECT_EQ(row.mode, phone.playbackMode);
        }
    }
}

TEST(MailBox, QueuesWhileTheClientIsBeingSetUp) {
    Phone phone;
    phone.setupSubscriptions("token");
    phone.sent.clear();
    phone.play(numbered(17), false, false);
    EXPECT_THAT(phone.sent, IsEmpty());
    EXPECT_THAT(numbers_in(phone.playQueue), ElementsAre(17u));
}

// More digits would tell such messages apart, and no device would find them.
TEST(MailBox, APositionHasSixDigitsOfTheTimestamp) {
    const struct {
        Variant timestamp;
        const char* position;
    } rows[] = {
        {0, "0@17E3"},
        {1.5, "1.5@17E3"},
        {123456, "123456@17E3"},
        {1234567.0, "1.23457e+06@17E3"},
        {1234567890.25, "1.23457e+09@17E3"},
        {1234567893.75, "1.23457e+09@17E3"},
        {-0.0001234567, "-0.000123457@17E3"},
        {1e300, "1e+300@17E3"},
    };
    for (const auto& row : rows) {
        EXPECT_EQ(row.position, played_position(row.timestamp)) << sorted_text(row.timestamp);
    }
}

TEST(MailBox, WritesTheNumbersOfAPositionUnsigned) {
    Phone phone;
    phone.playbackMode = 2;
    phone.play(raw_entry(R"({"appl_sequence_no":-1,"appl_event_index":4294967295})"), false, false);
    EXPECT_EQ(R"({"id":1001,"method":"play","params":["0@4294967295E4294967295"]})",
              phone.sentText(1));
}

TEST(MailBox, WritesAPositionWhateverTheGlobalLocaleIs) {
    const GroupedGlobalLocale locale;
    Phone phone;
    phone.playbackMode = 2;
    phone.play(raw_entry(R"({"timestamp":123456.5,"appl_sequence_no":1234567})"), false, false);
    EXPECT_EQ(R"({"id":1001,"method":"play","params":["123456@1234567E0"]})", phone.sentText(1));
    phone.play(raw_entry(R"({"timestamp":1.25})"), false, false);
    EXPECT_EQ(R"({"id":1003,"method":"play","params":["1.25@0E0"]})", phone.sentText(3));
}

// ----- The queue ---------------------------------------------------------------------------------

TEST(MailBox, ServesItsQueueWhenAPauseIsAnswered) {
    Phone phone;
    phone.playbackMode = 4;
    for (const int number : {1, 2, 3}) {
        phone.play(numbered(number), true, false);
    }
    EXPECT_THAT(phone.sent, IsEmpty());

    phone.pause();
    phone.sent.clear();
    phone.receive(R"({"result":true})");
    EXPECT_EQ(36, phone.playbackMode);
    EXPECT_THAT(numbers_in(phone.playQueue), ElementsAre(2u, 3u));
    EXPECT_EQ(1u, phone.currentEntry.sequenceNo());
    EXPECT_THAT(phone.takeSent(), ElementsAre(R"({"method":"endfilter","params":[""]})",
                                              R"({"id":1002,"method":"play","params":["0@1E0"]})"));

    phone.receive(R"({"result":true,"id":1002})");
    EXPECT_EQ(4, phone.playbackMode);
    EXPECT_THAT(numbers_in(phone.playQueue), ElementsAre(2u, 3u)) << "one at a time";
}

TEST(MailBox, TakesAMessageFromTheQueueBeforeItIsPlayed) {
    Phone phone;
    phone.playQueue = {numbered(1), numbered(2)};
    phone.pause();
    std::vector<std::vector<unsigned int>> seen;
    phone.whenSent = [&](const std::string&) { seen.push_back(numbers_in(phone.playQueue)); };
    phone.receive(R"({"result":true})");
    EXPECT_THAT(seen, ElementsAre(ElementsAre(2u), ElementsAre(2u)));
}

TEST(MailBox, LeavesAnEmptyQueueAloneWhenAPauseIsAnswered) {
    Phone phone;
    phone.playbackMode = 4;
    phone.pause();
    phone.sent.clear();
    phone.receive(R"({"result":true})");
    EXPECT_EQ(36, phone.playbackMode);
    EXPECT_THAT(phone.sent, IsEmpty());
}

TEST(MailBox, ServesItsQueueAlsoWhenThePauseFails) {
    Phone phone;
    phone.play(numbered(5), false, false);
    phone.pause();
    phone.receive(R"({"result":null,"error":[5,"no"]})");
    EXPECT_EQ(5u, phone.currentEntry.sequenceNo());
    EXPECT_THAT(phone.playQueue, IsEmpty());
}

TEST(MailBox, KeepsItsQueueWhenSomethingElseIsAnswered) {
    Phone phone;
    phone.play(numbered(5), false, false);
    phone.live();
    phone.receive(R"({"result":true,"id":1000})");
    phone.play();
    phone.receive(R"({"result":true,"id":1002})");
    EXPECT_THAT(numbers_in(phone.playQueue), ElementsAre(5u));
}

TEST(MailBox, PlaysAnEntryOfItsOwnQueue) {
    Phone phone;
    phone.playbackMode = 2;
    phone.playQueue = {numbered(1), numbered(2)};
    // An answer from inside takes the entry out while it is being sent.
    phone.whenSent = [&](const std::string&) { phone.playQueue.clear(); };
    phone.play(phone.playQueue[1], false, false);
    EXPECT_EQ(R"({"id":1001,"method":"play","params":["0@2E0"]})", phone.sentText(1));
    EXPECT_EQ(2u, phone.currentEntry.sequenceNo());
}

TEST(MailBox, QueuesAnEntryOfItsOwnQueueAgain) {
    Phone phone;
    phone.playQueue = {numbered(1)};
    phone.playQueue.shrink_to_fit();
    phone.play(phone.playQueue[0], false, false);
    EXPECT_THAT(numbers_in(phone.playQueue), ElementsAre(1u, 1u));
}

// ----- Deleting and marking ----------------------------------------------------------------------

// Erasing the tail would be the evident repair; the queue would then be shorter.
TEST(MailBox, DeletingAMessageNeverShortensTheQueue) {
    const struct {
        std::vector<int> before;
        int deleted;
        std::vector<unsigned int> after;
    } rows[] = {
        {{1}, 1, {1}},
        {{1, 2}, 1, {2, 2}},
        {{1, 2}, 2, {1, 2}},
        {{1, 2, 3}, 1, {2, 3, 3}},
        {{1, 2, 3}, 2, {1, 3, 3}},
        {{1, 2, 1, 3}, 1, {2, 3, 1, 3}},
        {{1, 1}, 1, {1, 1}},
        {{2, 3}, 1, {2, 3}},
        {{}, 1, {}},
    };
    for (const auto& row : rows) {
        Phone phone;
        for (const int number : row.before) {
            phone.playQueue.push_back(numbered(number));
        }
        phone.deleteMessage(numbered(row.deleted));
        EXPECT_EQ(row.after, numbers_in(phone.playQueue));
        EXPECT_EQ(R"({"id":1000,"method":"message_delete","params":[)" +
                      std::to_string(row.deleted) + ",0]}",
                  phone.sentText(0));
    }
}

TEST(MailBox, ComparesTheQueuedMessageWithTheDeletedOne) {
    Phone phone;
    phone.playQueue = {raw_entry(R"({"rid":9,"appl_sequence_no":5})"), numbered(6)};
    phone.deleteMessage(numbered(5));
    EXPECT_THAT(numbers_in(phone.playQueue), ElementsAre(5u, 6u)) << "the queued one has an rid";

    phone.playQueue = {numbered(5), numbered(6)};
    phone.deleteMessage(raw_entry(R"({"rid":9,"appl_sequence_no":5})"));
    EXPECT_THAT(numbers_in(phone.playQueue), ElementsAre(6u, 6u)) << "the queued one has none";
}

TEST(MailBox, DeletesAnEntryOfItsOwnQueue) {
    Phone phone;
    phone.playQueue = {numbered(1), numbered(2), numbered(1), numbered(3)};
    phone.deleteMessage(phone.playQueue[0]);
    EXPECT_THAT(numbers_in(phone.playQueue), ElementsAre(2u, 3u, 1u, 3u));
    EXPECT_EQ(R"({"id":1000,"method":"message_delete","params":[1,0]})", phone.sentText(0));
}

TEST(MailBox, DeletesFromTheQueueBeforeTheRequestLeaves) {
    Phone phone;
    phone.playQueue = {numbered(1), numbered(2)};
    std::vector<unsigned int> seen;
    phone.whenSent = [&](const std::string&) { seen = numbers_in(phone.playQueue); };
    phone.deleteMessage(numbered(1));
    EXPECT_THAT(seen, ElementsAre(2u, 2u));
}

TEST(MailBox, TellsNothingOfADeletedMessage) {
    Phone phone;
    phone.playbackMode = 4;
    phone.deleteMessage(numbered(1));
    phone.receive(R"({"result":null,"error":[5,"no"],"id":1000})");
    EXPECT_THAT(phone.told, IsEmpty());
    EXPECT_EQ(4, phone.playbackMode);
}

// The name "message_seen" exists, but no device expects it.
TEST(MailBox, MarkingAMessageSendsMessageDeleteWithAThirdParameter) {
    Phone phone;
    phone.playQueue = {numbered(7), numbered(8)};
    phone.markMessageSeen(numbered(7), true);
    phone.markMessageSeen(numbered(7), false);
    EXPECT_THAT(phone.takeSent(),
                ElementsAre(R"({"id":1000,"method":"message_delete","params":[7,0,true]})",
                            R"({"id":1001,"method":"message_delete","params":[7,0,false]})"));
    EXPECT_THAT(numbers_in(phone.playQueue), ElementsAre(7u, 8u));
}
