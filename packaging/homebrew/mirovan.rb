# Builds from the archive of a release; `brew install --build-from-source ./mirovan.rb` tries it from
# a checkout's own archive (git archive --prefix=mirovan-1.0.0/ HEAD).
class Mirovan < Formula
  desc "What the operating system knows and does, behind one flat C interface"
  homepage "https://mirovan.example"
  url "file://#{Pathname(__dir__).parent.parent}/build/mirovan-1.0.0.tar.gz"
  version "1.0.0"
  license "MIT"

  depends_on "cmake" => :build
  depends_on "ninja" => :build
  depends_on macos: :ventura # of either processor

  def install
    system "cmake", "-S", ".", "-B", "build", "-G", "Ninja",
           "-DMIROVAN_BUILD_TESTS=OFF", "-DMIROVAN_BUILD_EXAMPLES=OFF", *std_cmake_args
    system "cmake", "--build", "build"
    system "cmake", "--install", "build"
  end

  test do
    (testpath/"test.c").write <<~C
      #include <mirovan.h>
      int main(void)
      {
          MIROVAN_FILE_ATTR attributes;
          return Mirovan_File_GetFileAttrA("/", &attributes) && !attributes.bIsFile ? 0 : 1;
      }
    C
    system ENV.cc, "test.c", "-I#{include}", "-L#{lib}", "-lmirovan", "-Wl,-rpath,#{lib}", "-o", "test"
    system "./test"
  end
end
