#pragma once

// Marks what the shared library exports; everything else stays hidden.
#define QUARRA_TCAM_API __attribute__( ( visibility( "default" ) ) )
