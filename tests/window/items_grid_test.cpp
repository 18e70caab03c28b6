#include "window/items_grid.h"

#include <gtest/gtest.h>

#include "common/failure.h"
#include "tests/support/qt_printers.h"
#include "tests/support/window_fakes.h"

namespace tf::testing {
namespace {

TEST(RowKey, PadsTheFolderToThreeAndTheItemToFiveDigitsAndReadsTheItemBack) {
    EXPECT_EQ(ItemsGrid::rowKey(5, 123), QStringLiteral("005-00123"));
    EXPECT_EQ(ItemsGrid::rowKey(12, 7), QStringLiteral("012-00007"));
    EXPECT_EQ(ItemsGrid::rowKey(5, -1), QStringLiteral("005"));
    // Past the widths every digit stays, and the item is still the number after the dash.
    EXPECT_EQ(ItemsGrid::rowKey(1234, 123456), QStringLiteral("1234-123456"));
    EXPECT_EQ(ItemsGrid::itemOfKey(QStringLiteral("1234-123456")), 123456);
    EXPECT_EQ(ItemsGrid::itemOfKey(QStringLiteral("005-00123")), 123);
    EXPECT_EQ(ItemsGrid::itemOfKey(QStringLiteral("005")), 0);
}

// Serves a row's item number as its subject, so that sorting can be watched.
class NumberSource : public GridCellSource {
  public:
    QString cell(const GridRow& row, GridField field) const override {
        return field == kFieldSubject ? texts.at(static_cast<std::size_t>(row.item - 1))
                                      : QString();
    }
    std::vector<QString> texts;
};

class GridTable : public ::testing::Test {
  protected:
    GridTable() {
        grid.setCols(4);
        grid.setColumn(2, QStringLiteral("Subject"), kFieldSubject);
        grid.setColumn(3, QStringLiteral("TYPE"), kFieldMarker);
        grid.setCellSource(&source);
    }
    void addRows(const QStringList& subjects) {
        for (const QString& subject : subjects) {
            source.texts.push_back(subject);
            GridRow row;
            row.folder = 1;
            row.item = static_cast<int>(source.texts.size());
            ASSERT_TRUE(grid.addRow(row));
        }
    }
    QStringList subjects() const {
        QStringList all;
        for (int r = 1; r < grid.Rows(); ++r) {
            all << grid.TextMatrix(r, 2);
        }
        return all;
    }

    NumberSource source;
    ItemsGrid grid;
};

TEST_F(GridTable, SortsAsCaseSensitiveTextBothWays) {
    addRows({QStringLiteral("b"), QStringLiteral("B"), QStringLiteral("2026-01-02"),
             QStringLiteral("a"), QStringLiteral("2025-12-31")});
    grid.Sort(2, ItemsGrid::kSortStringAscending);
    EXPECT_EQ(subjects(),
              (QStringList{QStringLiteral("2025-12-31"), QStringLiteral("2026-01-02"),
                           QStringLiteral("B"), QStringLiteral("a"), QStringLiteral("b")}));
    grid.Sort(2, ItemsGrid::kSortStringDescending);
    EXPECT_EQ(subjects().first(), QStringLiteral("b"));
    EXPECT_EQ(subjects().last(), QStringLiteral("2025-12-31"));
    // The rows move whole: key and text stay together.
    EXPECT_EQ(grid.TextMatrix(1, 0), QStringLiteral("001-00001"));
    EXPECT_THROW(grid.Sort(2, 3), Failure);
}

TEST_F(GridTable, TheHeaderRowTheKeyAndTheMarkColumnsAreTheGridsOwn) {
    addRows({QStringLiteral("x")});
    EXPECT_EQ(grid.TextMatrix(0, 2), QStringLiteral("Subject"));
    EXPECT_EQ(grid.TextMatrix(0, 3), QStringLiteral("TYPE"));
    EXPECT_EQ(grid.TextMatrix(1, 1), QStringLiteral("0"));
    grid.setMark(1, kRowMarked);
    EXPECT_EQ(grid.TextMatrix(1, 1), QStringLiteral("1"));
    EXPECT_EQ(grid.RowData(1), 1);
    EXPECT_THROW(grid.TextMatrix(2, 0), Failure);
    EXPECT_THROW(grid.TextMatrix(1, 4), Failure);
}

TEST_F(GridTable, TellsTheViewAtOnceOrOnceWhenRedrawComesBack) {
    CountingGridObserver observer;
    grid.setObserver(&observer);
    addRows({QStringLiteral("a"), QStringLiteral("b")});
    const int resetsWhileDrawing = observer.resets;
    EXPECT_EQ(resetsWhileDrawing, 2);
    grid.setMark(1, kRowMarked);
    EXPECT_EQ(observer.changes, 1);

    grid.setRedraw(false);
    addRows({QStringLiteral("c"), QStringLiteral("d")});
    grid.setMark(2, kRowMarked);
    grid.Sort(2, ItemsGrid::kSortStringAscending);
    EXPECT_EQ(observer.resets, resetsWhileDrawing);
    EXPECT_EQ(observer.changes, 1);
    grid.setRedraw(true);
    EXPECT_EQ(observer.resets, resetsWhileDrawing + 1);
    grid.setRedraw(true);
    EXPECT_EQ(observer.resets, resetsWhileDrawing + 1);
    grid.setObserver(nullptr);
}

TEST_F(GridTable, RefusesRowsPastItsLimitAndRemovesByRule) {
    grid.setMaxRows(2);
    addRows({QStringLiteral("a"), QStringLiteral("b")});
    GridRow extra;
    EXPECT_FALSE(grid.addRow(extra));
    EXPECT_EQ(grid.Rows(), 3);
    grid.removeRowsIf([](const GridRow& row) { return row.item == 1; });
    EXPECT_EQ(subjects(), QStringList{QStringLiteral("b")});
    grid.setRows(1);
    EXPECT_EQ(grid.Rows(), 1);
}

}  // namespace
}  // namespace tf::testing
