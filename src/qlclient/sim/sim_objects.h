// The simulated payment-client objects, made for the simulator's factory. Each file
// holds the objects of one concern: the session and reader (sim_session.cpp), the card
// and its enquiries (sim_card_requests.cpp), the authorisation and its outcomes
// (sim_authorise.cpp), the server's stored transactions (sim_server.cpp).
#pragma once

#include <memory>

#include "qlclient/ql_client.h"

namespace ccaddin::sim {

std::unique_ptr<QlSession> MakeSession();
std::unique_ptr<QlParameters> MakeParameters();
std::unique_ptr<QlLogin> MakeLogin();
std::unique_ptr<QlCardReader> MakeCardReader();
std::unique_ptr<QlCardReaderStatus> MakeCardReaderStatus();
std::unique_ptr<QlCardEnquiry> MakeCardEnquiry();
std::unique_ptr<QlTransactionStart> MakeTransactionStart();
std::unique_ptr<QlDccEnquiry> MakeDccEnquiry();
std::unique_ptr<QlFuelBalance> MakeFuelBalance();
std::unique_ptr<QlFuelProductEnquiry> MakeFuelProductEnquiry();
std::unique_ptr<QlTransactionProcessor> MakeTransactionProcessor();
std::unique_ptr<QlConfirm> MakeConfirm();
std::unique_ptr<QlReceiptInfo> MakeReceiptInfo();
std::unique_ptr<QlCloseBatch> MakeCloseBatch();
std::unique_ptr<QlReport> MakeReport();

}  // namespace ccaddin::sim
