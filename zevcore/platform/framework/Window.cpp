#include "zevcore/platform/framework/Window.h"

CWnd::~CWnd() = default;
