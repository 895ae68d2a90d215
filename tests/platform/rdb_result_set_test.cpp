#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "rdb_errno.h"
#include "result_set.h"

namespace OHOS::NativeRdb {
namespace {

// Columns: integer, real, numeric text, other text, null.
AbsSharedResultSet MakeSet(int readError = E_OK)
{
    std::vector<AbsSharedResultSet::Row> rows = {
        {ValueObject(int64_t{0x100000005}), ValueObject(-2.75), ValueObject("42"), ValueObject("abc"), ValueObject()},
        {ValueObject(int64_t{-7}), ValueObject(1e300), ValueObject("1.5"), ValueObject(""), ValueObject()},
    };
    return AbsSharedResultSet({"i", "r", "num", "txt", "nul"}, std::move(rows), readError);
}

// Reads `column` with every getter into outputs that start as sentinels; returns the four error
// codes and sets `changed` when any output was written.
std::vector<int> ReadWithEveryGetter(AbsSharedResultSet& set, int column, bool& changed)
{
    int64_t wide = 123456;
    int narrow = 123456;
    double real = 123.25;
    std::string text = "sentinel";
    std::vector<int> errors = {set.GetLong(column, wide), set.GetInt(column, narrow), set.GetDouble(column, real),
        set.GetString(column, text)};
    changed = wide != 123456 || narrow != 123456 || real != 123.25 || text != "sentinel";
    return errors;
}

TEST(RdbResultSetTest, FailingGettersLeaveTheirOutputUntouched)
{
    AbsSharedResultSet set = MakeSet();
    bool changed = true;
    EXPECT_EQ(ReadWithEveryGetter(set, 0, changed), std::vector<int>(4, E_ROW_OUT_RANGE));
    EXPECT_FALSE(changed);
    ASSERT_EQ(set.GoToFirstRow(), E_OK);
    for (int column : {-1, 5, 13}) {
        changed = true;
        EXPECT_EQ(ReadWithEveryGetter(set, column, changed), std::vector<int>(4, E_INVALID_COLUMN_INDEX)) << column;
        EXPECT_FALSE(changed) << column;
    }
    set.Close();
    changed = true;
    EXPECT_EQ(ReadWithEveryGetter(set, 0, changed), std::vector<int>(4, E_ALREADY_CLOSED));
    EXPECT_FALSE(changed);
}

TEST(RdbResultSetTest, ValuesConvertLikeSqlite)
{
    AbsSharedResultSet set = MakeSet();
    ASSERT_EQ(set.GoToFirstRow(), E_OK);
    int64_t wide = 0;
    int narrow = 0;
    double real = 0;
    std::string text;
    EXPECT_EQ(set.GetInt(0, narrow), E_OK);
    EXPECT_EQ(narrow, 5); // low 32 bits of 0x100000005
    EXPECT_EQ(set.GetLong(1, wide), E_OK);
    EXPECT_EQ(wide, -2); // truncated toward zero
    EXPECT_EQ(set.GetLong(2, wide), E_OK);
    EXPECT_EQ(wide, 42);
    EXPECT_EQ(set.GetString(1, text), E_OK);
    EXPECT_EQ(text, "-2.75");
    EXPECT_EQ(set.GetDouble(0, real), E_OK);
    EXPECT_DOUBLE_EQ(real, 4294967301.0);
    EXPECT_EQ(set.GetLong(3, wide), E_INVALID_COLUMN_TYPE);
    EXPECT_EQ(wide, 42);
    EXPECT_EQ(set.GetDouble(3, real), E_INVALID_COLUMN_TYPE);
    bool isNull = false;
    EXPECT_EQ(set.IsColumnNull(4, isNull), E_OK);
    EXPECT_TRUE(isNull);
    EXPECT_EQ(set.GetLong(4, wide), E_OK);
    EXPECT_EQ(wide, 0);

    ASSERT_EQ(set.GoToNextRow(), E_OK);
    EXPECT_EQ(set.GetLong(1, wide), E_OK);
    EXPECT_EQ(wide, INT64_MAX); // saturated
    EXPECT_EQ(set.GetLong(2, wide), E_OK);
    EXPECT_EQ(wide, 1);
    EXPECT_EQ(set.GetDouble(2, real), E_OK);
    EXPECT_DOUBLE_EQ(real, 1.5);
}

TEST(RdbResultSetTest, MovingPastTheRowsReportsTheEndOrTheReadError)
{
    for (int readError : {E_OK, E_SQLITE_IOERR}) {
        AbsSharedResultSet set = MakeSet(readError);
        int moved = 0;
        while (set.GoToNextRow() == E_OK) {
            ++moved;
        }
        EXPECT_EQ(moved, 2);
        int expectedEnd = readError == E_OK ? E_ROW_OUT_RANGE : readError;
        EXPECT_EQ(set.GoToNextRow(), expectedEnd);
        EXPECT_EQ(set.GoToRow(7), expectedEnd);
        EXPECT_EQ(set.GoToRow(-1), E_ROW_OUT_RANGE);
        int64_t value = 99;
        EXPECT_EQ(set.GetLong(0, value), E_ROW_OUT_RANGE);
        int rows = -1;
        EXPECT_EQ(set.GetRowCount(rows), readError);
        EXPECT_EQ(rows, readError == E_OK ? 2 : -1);
        EXPECT_EQ(set.GoToFirstRow(), E_OK);
        int columns = 0;
        EXPECT_EQ(set.GetColumnCount(columns), E_OK);
        EXPECT_EQ(columns, 5);
    }
}

} // namespace
} // namespace OHOS::NativeRdb
