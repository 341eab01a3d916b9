// Windows in tests: pumping events, pictures of trees, answers to the message box.
#ifndef TLMTEST_GUI_H
#define TLMTEST_GUI_H

#include <QAbstractItemModel>
#include <QString>

#include <functional>

class CPopMessageBox;
class CTlmCliMod;
class QWidget;

namespace tlm::test {

// Runs the event loop until the condition holds. False when it does not within the limit, which only a broken
// program reaches.
bool processUntil(const std::function<bool()>& condition, int limitMs = 10'000);

// Handles everything that is queued now, deferred deletions included.
void settle();

// The tree as indented text, one line for each row, ended by line feeds: two blanks for each level, then the
// text of column 1 (a number, where there is one) and a blank, then the text of column 0. Only what the model
// holds already, unless `fetch` is set: then everything it can fetch.
QString treeText(QAbstractItemModel& model, const QModelIndex& parent = {}, bool fetch = false);

// Lines of a picture in a test, without the indentation of the source around them.
QString picture(const char* text);

// Presses a button of the waiting message box: 0 the accepting one, 1 the other. A failure of the test when no
// question waits.
void answerBox(CPopMessageBox* box, int role);

// The message box that waits now, or null.
CPopMessageBox* waitingBox();

}  // namespace tlm::test

#endif
