#pragma once

// Helpers for tests that open windows under the offscreen platform.
#include <QWidget>
