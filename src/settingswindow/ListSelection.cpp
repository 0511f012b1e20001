#include "settingswindow/ListSelection.h"

#include <QItemSelectionModel>
#include <QListView>

namespace ListSelection {

void show(QListView& list, int row) {
    QItemSelectionModel* selection = list.selectionModel();
    if (row < 0) {
        selection->clearSelection();
        selection->setCurrentIndex({}, QItemSelectionModel::NoUpdate);
        return;
    }
    const QModelIndex index = list.model()->index(row, 0);
    selection->setCurrentIndex(index, QItemSelectionModel::ClearAndSelect);
    list.scrollTo(index);
}

} // namespace ListSelection
