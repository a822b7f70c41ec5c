#pragma once

// Marks what the simulated chip exports beside the SDK's functions.
#define QUARRA_SIMULATOR_API __attribute__( ( visibility( "default" ) ) )
