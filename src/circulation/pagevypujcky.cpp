#include "circulation/pagevypujcky.h"

CPageVypujcky::CPageVypujcky(QWidget *parent) : CEntryPage(parent)
{
    setMinimumSize(640, 470);
}
