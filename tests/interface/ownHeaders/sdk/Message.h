#error "the SDK includes a header of the application"
