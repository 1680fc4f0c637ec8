#include "zevcore/platform/Window.h"

CWnd::~CWnd() = default;
