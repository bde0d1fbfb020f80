#include "circulation/pagevraceni.h"

CPageVraceni::CPageVraceni(QWidget *parent) : CEntryPage(parent)
{
    setMinimumSize(640, 470);
}
