#include "search/vyhledavani.h"

CVyhledavani::CVyhledavani(QWidget *parent) : CFrameView(parent) {}
