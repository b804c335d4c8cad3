// Vendor queries that wait for their answers.
#pragma once

// Forgets all pending queries. kOk.
int initVendQueries();

// Resends or drops overdue queries. Called on every pass of the main loop. kOk.
int checkVendRespMsgReceived();
