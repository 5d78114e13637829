#pragma once

#include "Foundation/String.h"

#include <QIcon>

namespace dresk {

/// The icon of the status item by the name of its resource: a key cap with a letter and a caret,
/// with a warning sign, or struck out. A template is drawn in the text colour of the palette with a
/// rim of the opposite colour, so that it shows on panels of either kind; otherwise it is grey.
/// Unknown names give the plain key cap. Sharp at every size.
QIcon statusImage(StringView name, bool isTemplate);

/// The icon of the program's windows: the installed one, or the key cap on a coloured ground.
QIcon applicationImage();

} // namespace dresk
