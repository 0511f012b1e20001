#include "settingswindow/ListSelection.h"

#include <QListView>
#include <QScrollBar>
#include <QStringListModel>
#include <QTest>

// A list view put in step with a selection the tab keeps elsewhere.
class TestListSelection : public QObject {
    Q_OBJECT
private:
    std::unique_ptr<QStringListModel> m_model;
    std::unique_ptr<QListView> m_list;

    QList<int> selectedRows() const {
        QList<int> rows;
        for (const QModelIndex& index : m_list->selectionModel()->selectedRows())
            rows.append(index.row());
        return rows;
    }

private Q_SLOTS:
    void init() {
        QStringList names;
        for (int i = 0; i < 40; ++i)
            names.append(QStringLiteral("row %1").arg(i));
        m_model = std::make_unique<QStringListModel>(names);
        m_list = std::make_unique<QListView>();
        m_list->setModel(m_model.get());
        m_list->setSelectionMode(QAbstractItemView::SingleSelection);
        m_list->resize(200, 120); // a few rows visible, the rest below
        m_list->show();
        QVERIFY(QTest::qWaitForWindowExposed(m_list.get()));
    }
    void cleanup() {
        m_list.reset();
        m_model.reset();
    }

    void aRowIsSelectedMadeCurrentAndScrolledIntoView() {
        ListSelection::show(*m_list, 2);
        QCOMPARE(selectedRows(), QList<int>{2});
        QCOMPARE(m_list->currentIndex().row(), 2);

        ListSelection::show(*m_list, 35);
        QCOMPARE(selectedRows(), QList<int>{35}); // the earlier one is no longer selected
        QCOMPARE(m_list->currentIndex().row(), 35);
        QVERIFY(m_list->verticalScrollBar()->value() > 0);
        const QRect shown = m_list->visualRect(m_model->index(35));
        QVERIFY(m_list->viewport()->rect().contains(shown));
    }

    void noRowLeavesNothingSelectedAndNothingCurrent() {
        ListSelection::show(*m_list, 5);
        ListSelection::show(*m_list, -1);
        QVERIFY(selectedRows().isEmpty());
        QVERIFY(!m_list->currentIndex().isValid());
        // The arrow keys start again from the top.
        m_list->setFocus();
        QTest::keyClick(m_list.get(), Qt::Key_Down);
        QCOMPARE(m_list->currentIndex().row(), 0);
    }
};

QTEST_MAIN(TestListSelection)
#include "tst_listselection.moc"
