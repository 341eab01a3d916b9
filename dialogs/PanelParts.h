// What the panels of this folder have in common.
#ifndef TLMMEAS_PANELPARTS_H
#define TLMMEAS_PANELPARTS_H

class CPopTemplate;
class QDialogButtonBox;
class QLineEdit;
class QSpinBox;

// Takes the title of a form that was set up on the panel, keeps its layout clear of the panel's frame, and gives the
// buttons their texts. Enter on a button presses it.
void preparePanel(CPopTemplate* panel, QDialogButtonBox* buttons);

// Keeps a field as wide as the form made it, and wider only when its text needs it, up to the longest number.
void growWithText(QLineEdit* field);
void growWithText(QSpinBox* field);

#endif
