#include "catalogue/pageprohlizeni.h"

CPageProhlizeni::CPageProhlizeni(QWidget *parent) : CEntryPage(parent)
{
    setMinimumSize(640, 470);
}
