#pragma once

#include <QIcon>
#include <QString>

// What the program is: its name, version, a line of what it does, its copyright and where new
// versions come from, in the interface language. Main thread only.
namespace AboutBox {

// Shows the box and returns when it is closed.
void show();
// The text under the name, one paragraph a line group.
QString body();
// The program's icon: the theme's, or the copies built into the program.
QIcon appIcon();

} // namespace AboutBox
