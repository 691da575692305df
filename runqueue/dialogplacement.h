#ifndef DIALOGPLACEMENT_H
#define DIALOGPLACEMENT_H

class QDialog;

/// Moves a dialog that is not shown yet so that its centre stands at the mouse cursor.
void centreOnCursor(QDialog &dialog);

#endif // DIALOGPLACEMENT_H
