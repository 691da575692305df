#ifndef PARENTGUARD_H
#define PARENTGUARD_H

class QWidget;

/// Keeps a widget that the plugin owns from dying with a parent that the host gave it: a parent that goes down lets go of
/// the widget first. The host should take the widget out itself; this is for the host that does not. GUI thread.
void keepFromParents(QWidget *widget);

#endif // PARENTGUARD_H
