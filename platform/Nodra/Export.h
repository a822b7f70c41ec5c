#pragma once

// Marks what the platform library exports. An agent sees one type and one object of each name then, also when
// it is built with hidden visibility itself.
#define NODRA_API __attribute__( ( visibility( "default" ) ) )
