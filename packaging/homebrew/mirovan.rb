class Mirovan < Formula
  desc "C and C++ library for file, hardware, process and system operations"
  homepage "https://mirovan.example"
  url "https://mirovan.example/releases/mirovan-1.1.0.tar.gz"
  sha256 "0000000000000000000000000000000000000000000000000000000000000000"
  license "MIT"

  depends_on "cmake" => :build
  depends_on macos: :ventura

  def install
    system "cmake", "-S", ".", "-B", "build", *std_cmake_args
    system "cmake", "--build", "build"
    system "cmake", "--install", "build"
  end

  test do
    (testpath/"test.c").write <<~C
      #include <mirovan.h>
      #include <stdio.h>

      int main(void)
      {
          MIROVAN_FILE_ATTR attributes;
          if (!Mirovan_File_GetFileAttrA("test.c", &attributes))
              return 1;
          printf("%lld\\n", (long long)attributes.nFileSize);
          return 0;
      }
    C
    system ENV.cc, "test.c", "-I#{include}", "-L#{lib}", "-lmirovan", "-Wl,-rpath,#{lib}", "-o", "test"
    assert_equal (testpath/"test.c").size.to_s, shell_output("./test").chomp
  end
end
