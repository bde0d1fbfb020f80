#include "circulation/pagevyrazeni.h"

CPageVyrazeni::CPageVyrazeni(QWidget *parent) : CEntryPage(parent)
{
    setMinimumSize(640, 470);
}
