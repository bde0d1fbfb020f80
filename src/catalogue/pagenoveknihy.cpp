#include "catalogue/pagenoveknihy.h"

CPageNoveknihy::CPageNoveknihy(QWidget *parent) : CEntryPage(parent)
{
    setMinimumSize(640, 470);
}
