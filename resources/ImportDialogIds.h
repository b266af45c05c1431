// Resource and control ids of the import options dialog, shared by the resource script and
// the code that drives the dialog. Plain #defines so that windres reads them too.
#pragma once

#define IDD_SID_IMPORT 100

#define IDC_DEFAULTS 3000
#define IDC_NAVIGATE_LABEL 3111
#define IDC_FILE_DIMENSIONS 3005
#define IDC_PREVIEW_FRAME 3100
#define IDC_REGION_GROUP 3112
#define IDC_EDIT_LEFT 2100
#define IDC_EDIT_TOP 2101
#define IDC_EDIT_RIGHT 2102
#define IDC_EDIT_BOTTOM 2103
#define IDC_TOP_LABEL 3113
#define IDC_LEFT_LABEL 3114
#define IDC_RIGHT_LABEL 3115
#define IDC_BOTTOM_LABEL 3116
#define IDC_REGION_DIMENSIONS 3006
#define IDC_REDUCTION_GROUP 3117
#define IDC_REDUCTION_1 2000
#define IDC_REDUCTION_2 2001
#define IDC_REDUCTION_4 2002
#define IDC_REDUCTION_8 2003
#define IDC_REDUCTION_16 2004
#define IDC_REDUCTION_32 2005
#define IDC_MEMORY_HINT 3118
#define IDC_QUALITY_HINT 3119
#define IDC_FINAL_DIMENSIONS 3007
#define IDC_ESTIMATED_SIZE 3008
#define IDC_ON_THE_FLY 4000
// Radio buttons of a format choice that the template does not hold; reading them yields 4.
#define IDC_FORMAT_FIRST 1000
