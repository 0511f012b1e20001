#pragma once

class QListView;

// The settings tabs keep their selection as an id and show it in a
// single-selection list view: this puts the view in step with it.
namespace ListSelection {

// Selects `row`, makes it the current row and scrolls it into view; with a
// negative `row`, leaves no row selected and none current, so that the arrow
// keys start again from the top.
void show(QListView& list, int row);

} // namespace ListSelection
