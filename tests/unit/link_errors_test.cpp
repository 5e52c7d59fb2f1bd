#include "library_fixture.h"

class LinkErrors : public Library {
  protected:
    void SetUp() override {
        Load();
        LogAtMode('5');
    }

    static constexpr tLinkReadPlace FIRST_BYTE = {0, 0, 16384, 1000, 10000};
    static constexpr tLinkReadPlace BODY = {20, 18, 16384, 1000, 100};
};

TEST_F(LinkErrors, NoErrorSaysNothing) {
    EXPECT_EQ(LinkConsultWriteError(LINK_NO_ERROR, 10, 0, 2000), 0);
    EXPECT_EQ(LinkConsultReadError(LINK_NO_ERROR, BODY), 0);
    EXPECT_EQ(DiagnosticLog(), "");
}

TEST_F(LinkErrors, AWriteThatWouldBlockGoesOn) {
    EXPECT_EQ(LinkConsultWriteError(11, 10, 1000, 2000), 0);
    EXPECT_EQ(LinkConsultWriteError(140, 10, 1000, 2000), 0);
    EXPECT_EQ(MaskFronts(DiagnosticLog()),
              "ERR [cSerialWriteBufW]Win: ulTxPktSz[00000010] errno[00000011]EAGAIN:EWOULDBLOCK diff[1000] "
              "iTimeout[2000]\n"
              "ERR [cSerialWriteBufW]Win: ulTxPktSz[00000010] errno[00000140]EAGAIN:EWOULDBLOCK diff[1000] "
              "iTimeout[2000]\n");
}

TEST_F(LinkErrors, AHardWriteErrorIs1006) {
    World().last_error = 22;
    EXPECT_EQ(LinkConsultWriteError(9, 10, 0, 2000), -1006);
    EXPECT_EQ(LinkConsultWriteError(5, 10, 0, 2000), -1006);
    const std::string log = MaskFronts(DiagnosticLog());
    EXPECT_THAT(log, testing::HasSubstr("errno[00000009]EBADF diff[0] iTimeout[2000]\n"));
    EXPECT_THAT(log, testing::HasSubstr("errno[00000005]OTHER diff[0] iTimeout[2000]\n"));
    EXPECT_THAT(log,
                testing::HasSubstr("ERR [cSerialWriteBufW]Win: rc[-01006]ER:SAT_API_ERR_WIN_DEV_COMM_WR\n\t "
                                   "GetLastError[22] strerror("));
    EXPECT_THAT(log, testing::HasSubstr(") errno[5]\n"));
}

TEST_F(LinkErrors, AHardReadErrorSaysWhereTheReplyStands) {
    EXPECT_EQ(LinkConsultReadError(11, BODY), 0);
    EXPECT_EQ(LinkConsultReadError(9, FIRST_BYTE), -1);
    EXPECT_EQ(LinkConsultReadError(5, BODY), -1);
    const std::string log = MaskFronts(DiagnosticLog());
    EXPECT_THAT(
        log, testing::HasSubstr("ERR [cSerialReadBufW]Win: iPos[00000020] errno[00000011]EAGAIN:EWOULDBLOCK "
                                "liDifTime[1000] iTimeout[100]\n"));
    EXPECT_THAT(log, testing::HasSubstr(
                         "Win: iPos[00000000] errno[00000009]EBADF liDifTime[1000] iTimeout[10000]\n"));
    EXPECT_THAT(log, testing::HasSubstr("Win ER iPos[000] liDifTime:iTimeout[1000:10000] strerror(9)=["));
    EXPECT_THAT(log, testing::HasSubstr("errno[00000005]OTHER liDifTime[1000] iTimeout[100]\n"));
    EXPECT_THAT(log, testing::HasSubstr("Win ER iChkPos[0018] iPos[0020] lNext[16384] "
                                        "liDifTime:iTimeout[1000:100]FAIL!!!\n"));
}
