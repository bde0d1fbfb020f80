#include "catalogue/pageopravy.h"

CPageOpravy::CPageOpravy(QWidget *parent) : CEntryPage(parent)
{
    setMinimumSize(640, 470);
}
