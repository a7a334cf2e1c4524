#pragma once

#define IDD_THERMOMETER 100
#define IDC_SCALE 101
