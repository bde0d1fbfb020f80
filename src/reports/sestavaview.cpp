#include "reports/sestavaview.h"

CSestavaView::CSestavaView(QWidget *parent) : CFrameView(parent) {}
