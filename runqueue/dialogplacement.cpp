#include "runqueue/dialogplacement.h"

#include <QCursor>
#include <QDialog>

void centreOnCursor(QDialog &dialog)
{
    // It would grow to what its layout needs when it shows, and the centre would move away.
    dialog.resize(dialog.size().expandedTo(dialog.minimumSizeHint()));
    dialog.move(QCursor::pos() - QPoint(qRound(dialog.width() / 2.0), qRound(dialog.height() / 2.0)));
}
