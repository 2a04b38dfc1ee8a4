extern "C" const char* DescribePort();

const char* DescribePort() {
    return "0000:03:00.0-10df-e200";
}
